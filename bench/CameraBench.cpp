// SPDX-License-Identifier: MIT
// A camera's buffer to a picture in grey, against OpenCV's, and all that is done with each picture.
#include <chrono>
#include <cstdint>
#include <vector>

#include "bench/RatioReport.h"
#include "bench/RoomPictures.h"
#include "kit/webcam/JpegPictures.h"
#include "webcam/CameraEye.h"
#include "webcam/camera/GreyDecoding.h"

#ifdef LIGHTPEN_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef LIGHTPEN_HAVE_OPENCV_CODECS
#include <opencv2/imgcodecs.hpp>
#endif

namespace lightpen::bench {
namespace {

using namespace webcam;
using Bytes = std::vector<std::uint8_t>;

// What a webcam sends of a room.
constexpr int kQuality = 80;

// A room with something in it: slopes alone would be quicker to decode than any camera's pictures.
Bytes roughRoom(int width, int height) {
    Bytes grey = slopes(width, height);
    std::uint32_t seed = 1;
    for (std::uint8_t& pixel : grey) {
        seed = seed * 1664525 + 1013904223;
        pixel = static_cast<std::uint8_t>(pixel / 2 + 40 + (seed >> 29));
    }
    return grey;
}

Bytes yuyvOf(const Bytes& grey) {
    Bytes bytes;
    for (const std::uint8_t pixel : grey)
        bytes.insert(bytes.end(), {pixel, 128});
    return bytes;
}

void decode(benchmark::State& state, const Bytes& bytes, const BufferLayout& layout) {
    GreyPicture picture;
    for (auto _ : state) {
        if (!decodeGrey(bytes, layout, picture))
            state.SkipWithError("no picture");
        benchmark::DoNotOptimize(picture.pixels.data());
        benchmark::ClobberMemory();
    }
}

int widthOf(const benchmark::State& state) {
    return static_cast<int>(state.range(0));
}
int heightOf(const benchmark::State& state) {
    return static_cast<int>(state.range(1));
}

void greyToGrey(benchmark::State& state) {
    const int width = widthOf(state), height = heightOf(state);
    decode(state, roughRoom(width, height), {PixelFormat::grey, width, height, width});
}
void yuyvToGrey(benchmark::State& state) {
    const int width = widthOf(state), height = heightOf(state);
    decode(state, yuyvOf(roughRoom(width, height)), {PixelFormat::yuyv, width, height, 2 * width});
}
void mjpegToGrey(benchmark::State& state) {
    const int width = widthOf(state), height = heightOf(state);
    decode(state, jpegOf(roughRoom(width, height), width, height, {.quality = kQuality}),
           {PixelFormat::mjpeg, width, height, 0});
}
BENCHMARK(greyToGrey)->Args({640, 480})->Args({1280, 720});
BENCHMARK(yuyvToGrey)->Args({640, 480})->Args({1280, 720});
BENCHMARK(mjpegToGrey)->Args({640, 480})->Args({1280, 720});

Bytes mjpegOf(const DrawnPicture& picture) {
    const GreyView view = picture.view();
    return jpegOf({view.pixels.begin(), view.pixels.end()}, view.width, view.height, {.quality = kQuality});
}

// What the thread that has the camera does with each picture, between the kernel's handing it over and the
// unit's seeing it.
void seePictures(benchmark::State& state, const Bytes& quiet, const std::vector<Bytes>& pictures,
                 bool withPen) {
    const BufferLayout layout{PixelFormat::mjpeg, 1280, 720, 0};
    CameraEye eye;
    eye.begin(60);
    GreyPicture picture;
    Microseconds now{};
    const auto see = [&](const Bytes& bytes) {
        now += std::chrono::microseconds(16'667);
        if (!decodeGrey(bytes, layout, picture))
            state.SkipWithError("no picture");
        eye.take(picture.view(), now);
    };
    for (int i = 0; i < 60; ++i)
        see(quiet);
    std::size_t next = 0;
    for (auto _ : state) {
        see(pictures[next++ % pictures.size()]);
        if (eye.look(now).pen.has_value() != withPen)
            state.SkipWithError("the pen is lost, or there is none");
    }
}
void seeNoPen(benchmark::State& state) {
    const Bytes quiet = mjpegOf(room(720));
    seePictures(state, quiet, {quiet}, false);
}
void seePen(benchmark::State& state) {
    // A hand that never keeps still, so that it is no lamp.
    seePictures(state, mjpegOf(room(720)), {mjpegOf(roomWithPen(720)), mjpegOf(roomWithPen(720, 6))}, true);
}
BENCHMARK(seeNoPen);
BENCHMARK(seePen);

#ifdef LIGHTPEN_HAVE_OPENCV

void openCVYuyv(benchmark::State& state) {
    Bytes bytes = yuyvOf(roughRoom(widthOf(state), heightOf(state)));
    const cv::Mat buffer(heightOf(state), widthOf(state), CV_8UC2, bytes.data());
    cv::Mat grey;
    for (auto _ : state) {
        cv::cvtColor(buffer, grey, cv::COLOR_YUV2GRAY_YUYV);
        benchmark::DoNotOptimize(grey.data);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(openCVYuyv)->Args({640, 480})->Args({1280, 720});

#endif
#ifdef LIGHTPEN_HAVE_OPENCV_CODECS

void openCVMjpeg(benchmark::State& state) {
    const Bytes jpeg = jpegOf(roughRoom(widthOf(state), heightOf(state)), widthOf(state), heightOf(state),
                              {.quality = kQuality});
    cv::Mat grey;
    for (auto _ : state) {
        cv::imdecode(jpeg, cv::IMREAD_GRAYSCALE, &grey);
        benchmark::DoNotOptimize(grey.data);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(openCVMjpeg)->Args({640, 480})->Args({1280, 720});

#endif

} // namespace
} // namespace lightpen::bench

int main(int argc, char** argv) {
    constexpr double kMost = 9; // a millisecond and a half for each of 60 pictures
    return lightpen::bench::runWithRatios(
        argc, argv,
        {{"YUYV to grey, 640 x 480 : cvtColor", "yuyvToGrey/640/480", "openCVYuyv/640/480", 1},
         {"YUYV to grey, 1280 x 720 : the same", "yuyvToGrey/1280/720", "openCVYuyv/1280/720", 1},
         // The same decoder is below both.
         {"MJPEG to grey, 640 x 480 : imdecode", "mjpegToGrey/640/480", "openCVMjpeg/640/480"},
         {"MJPEG to grey, 1280 x 720 : the same", "mjpegToGrey/1280/720", "openCVMjpeg/1280/720"}},
        {{"60 pictures a second of 1280 x 720 MJPEG, no pen", "seeNoPen", 60, kMost},
         {"60 pictures a second of 1280 x 720 MJPEG, a pen", "seePen", 60, kMost}});
}
