// SPDX-License-Identifier: MIT
// The search for the pen's spot in one picture, against OpenCV's threshold and contours.
#include <chrono>

#include "bench/RatioReport.h"
#include "bench/RoomPictures.h"
#include "webcam/sight/SmallPicture.h"
#include "webcam/sight/SpotFinder.h"

#ifdef LIGHTPEN_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace lightpen::bench {
namespace {

using webcam::DrawnPicture;
using webcam::SpotFinder;

// A finder that has seen the room, and its clock.
struct Finder {
    explicit Finder(const DrawnPicture& quiet) {
        for (int i = 0; i < 60; ++i)
            look(quiet);
    }
    std::optional<webcam::Spot> look(const DrawnPicture& picture) {
        now += std::chrono::microseconds(16'667);
        return finder.find(picture.view(), now);
    }
    SpotFinder finder;
    Microseconds now{};
};

// There is no pen, so the whole picture is searched.
void searchWholePicture(benchmark::State& state) {
    const DrawnPicture quiet = room(static_cast<int>(state.range(0)));
    Finder finder(quiet);
    for (auto _ : state)
        benchmark::DoNotOptimize(finder.look(quiet));
}
BENCHMARK(searchWholePicture)->Arg(480)->Arg(720)->Arg(1080);

void followPen(benchmark::State& state) {
    const int height = static_cast<int>(state.range(0));
    Finder finder(room(height));
    // A hand that never keeps still, so that it is no lamp.
    const DrawnPicture pictures[2] = {roomWithPen(height), roomWithPen(height, 6)};
    std::size_t next = 0;
    for (auto _ : state)
        if (const auto spot = finder.look(pictures[next++ % 2]); !spot)
            state.SkipWithError("the pen is lost");
}
BENCHMARK(followPen)->Arg(480)->Arg(720)->Arg(1080);

void makeSmallPicture(benchmark::State& state) {
    const DrawnPicture picture = room(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(webcam::smallPicture(picture.view()));
}
BENCHMARK(makeSmallPicture)->Arg(480)->Arg(1080);

#ifdef LIGHTPEN_HAVE_OPENCV

// The usual way: all that is bright, its outlines, and the middle of the largest.
void openCVContours(benchmark::State& state) {
    const DrawnPicture drawn = roomWithPen(static_cast<int>(state.range(0)));
    const webcam::GreyView view = drawn.view();
    const cv::Mat picture =
        cv::Mat(view.height, view.width, CV_8UC1, const_cast<std::uint8_t*>(view.pixels.data())).clone();
    cv::setNumThreads(1);
    cv::Mat bright;
    std::vector<std::vector<cv::Point>> outlines;
    for (auto _ : state) {
        cv::threshold(picture, bright, 110, 255, cv::THRESH_BINARY);
        cv::findContours(bright, outlines, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
        cv::Moments largest;
        for (const auto& outline : outlines)
            if (const cv::Moments moments = cv::moments(outline); moments.m00 > largest.m00)
                largest = moments;
        benchmark::DoNotOptimize(largest);
        if (outlines.empty())
            state.SkipWithError("the pen is lost");
    }
}
BENCHMARK(openCVContours)->Arg(480)->Arg(720)->Arg(1080);

#endif

} // namespace
} // namespace lightpen::bench

int main(int argc, char** argv) {
    return lightpen::bench::runWithRatios(
        argc, argv,
        {{"640 x 480, whole picture : threshold, contours", "searchWholePicture/480", "openCVContours/480",
          1},
         {"1280 x 720 : the same", "searchWholePicture/720", "openCVContours/720", 1},
         {"1920 x 1080 : the same", "searchWholePicture/1080", "openCVContours/1080", 1},
         {"640 x 480, pen followed : the same", "followPen/480", "openCVContours/480", 1},
         {"1280 x 720, pen followed : the same", "followPen/720", "openCVContours/720", 1},
         {"1920 x 1080, pen followed : the same", "followPen/1080", "openCVContours/1080", 1}});
}
