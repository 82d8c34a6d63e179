// SPDX-License-Identifier: MIT
// The mapping and the solving of its coefficients, against OpenCV's in double precision.
#include <cmath>
#include <random>
#include <span>

#include "bench/IdlePlatform.h"
#include "bench/RatioReport.h"
#include "calibration/KVRCalibrationCenter.h"

#ifdef LIGHTPEN_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace lightpen::bench {
namespace {

// A power of two, so that walking round the inputs costs next to nothing.
constexpr std::size_t kInputs = 1024;
constexpr ScreenRect kTargets{{170, 75}, {1580, 930}};

// Cameras that see the four targets as keystones, each corner a whole number as the unit reports it.
const std::vector<_KVRQuadPoints>& quads() {
    static const std::vector<_KVRQuadPoints> all = [] {
        std::mt19937 random(1);
        std::uniform_int_distribution<int> shift(-180, 180);
        const auto near = [&](int x, int y) {
            return CameraPoint{double(x + shift(random)), double(y + shift(random))};
        };
        std::vector<_KVRQuadPoints> made;
        for (std::size_t i = 0; i < kInputs; ++i)
            made.push_back({near(450, 350), near(2100, 300), near(2200, 1650), near(350, 1550)});
        return made;
    }();
    return all;
}

const std::vector<CameraPoint>& points() {
    static const std::vector<CameraPoint> all = [] {
        std::mt19937 random(2);
        std::uniform_int_distribution<int> x(1, 2559), y(0, 1920);
        std::vector<CameraPoint> made;
        for (std::size_t i = 0; i < kInputs; ++i)
            made.push_back({double(x(random)), double(y(random))});
        return made;
    }();
    return all;
}

void mapWithoutLogLine(benchmark::State& state) {
    const Calibrator calibrator(quads().front(), kTargets);
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(calibrator.transformed(points()[next++ % kInputs]));
}
BENCHMARK(mapWithoutLogLine);

void mapWithLogDiscarded(benchmark::State& state) {
    DiscardingLog log;
    setLogSink(&log);
    const Calibrator calibrator(quads().front(), kTargets);
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(calibrator.mapPointFrom(points()[next++ % kInputs]));
    setLogSink(nullptr);
}
BENCHMARK(mapWithLogDiscarded);

// As the driver does it for each report: the session's calibrators of this moment, the first of them, the
// line.
void mapByTheCenterWithLogDiscarded(benchmark::State& state) {
    DiscardingLog log;
    setLogSink(&log);
    RecordingPointer pointer;
    const IdlePlatform desk(pointer);
    KVRCalibrationCenter center(0, kClearColor, 0, Screen{"main", kScreen});
    const _KVRQuadPoints& quad = quads().front();
    center.setCalibrationPoints(std::make_shared<const PointList>(
        PointList{quad.topLeft, quad.topRight, quad.bottomLeft, quad.bottomRight}));
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(center.mapPointFrom(points()[next++ % kInputs]));
    setLogSink(nullptr);
}
BENCHMARK(mapByTheCenterWithLogDiscarded);

void mapBlock(benchmark::State& state) {
    const Calibrator calibrator(quads().front(), kTargets);
    const auto size = static_cast<std::size_t>(state.range(0));
    const std::span camera = std::span(points()).first(size);
    std::vector<ScreenPoint> mapped(size);
    for (auto _ : state) {
        calibrator.transformed(camera, mapped);
        benchmark::DoNotOptimize(mapped.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(mapBlock)->Arg(16)->Arg(kInputs);

void solve(benchmark::State& state) {
    Calibrator calibrator(quads().front(), kTargets);
    std::size_t next = 0;
    for (auto _ : state) {
        calibrator.setSourcePoints(quads()[next++ % kInputs]);
        calibrator.calculateConstant();
        benchmark::DoNotOptimize(calibrator.vector());
    }
}
BENCHMARK(solve);

#ifdef LIGHTPEN_HAVE_OPENCV

cv::Point2f single(CameraPoint point) {
    return {static_cast<float>(point.x), static_cast<float>(point.y)};
}

cv::Mat openCVTransform(const _KVRQuadPoints& quad) {
    const auto left = static_cast<float>(kTargets.origin.x);
    const auto top = static_cast<float>(kTargets.origin.y);
    const auto right = static_cast<float>(kTargets.origin.x + kTargets.size.width);
    const auto bottom = static_cast<float>(kTargets.origin.y + kTargets.size.height);
    const cv::Point2f from[] = {single(quad.topLeft), single(quad.topRight), single(quad.bottomRight),
                                single(quad.bottomLeft)};
    const cv::Point2f to[] = {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
    return cv::getPerspectiveTransform(from, to);
}

void openCVMapPoint(benchmark::State& state) {
    const cv::Mat transform = openCVTransform(quads().front());
    std::vector<cv::Point2d> from(1), to(1);
    std::size_t next = 0;
    for (auto _ : state) {
        const CameraPoint& point = points()[next++ % kInputs];
        from[0] = {point.x, point.y};
        cv::perspectiveTransform(from, to, transform);
        benchmark::DoNotOptimize(to.data());
    }
}
BENCHMARK(openCVMapPoint);

void openCVMapBlock(benchmark::State& state) {
    const cv::Mat transform = openCVTransform(quads().front());
    std::vector<cv::Point2d> from, to;
    for (std::size_t i = 0; i < static_cast<std::size_t>(state.range(0)); ++i)
        from.emplace_back(points()[i].x, points()[i].y);
    for (auto _ : state) {
        cv::perspectiveTransform(from, to, transform);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(openCVMapBlock)->Arg(16)->Arg(kInputs);

void openCVSolve(benchmark::State& state) {
    std::size_t next = 0;
    for (auto _ : state) {
        const cv::Mat transform = openCVTransform(quads()[next++ % kInputs]);
        benchmark::DoNotOptimize(transform.data);
    }
}
BENCHMARK(openCVSolve);

// How far ours and OpenCV's result lie apart at most, over the whole screen every 20 pixels, one camera.
double largestDeviation(const _KVRQuadPoints& quad) {
    const Calibrator calibrator(quad, kTargets);
    const cv::Mat transform = openCVTransform(quad);
    std::vector<cv::Point2d> screen, camera, mapped;
    for (double y = 0; y <= kScreen.size.height; y += 20)
        for (double x = 0; x <= kScreen.size.width; x += 20)
            screen.emplace_back(x, y);
    cv::perspectiveTransform(screen, camera, transform.inv());
    cv::perspectiveTransform(camera, mapped, transform);
    double largest = 0;
    for (std::size_t i = 0; i < camera.size(); ++i) {
        const ScreenPoint ours = calibrator.transformed({camera[i].x, camera[i].y});
        largest = std::max(largest, std::hypot(ours.x - mapped[i].x, ours.y - mapped[i].y));
    }
    return largest;
}

void printDeviation() {
    std::vector<double> deviations;
    for (const _KVRQuadPoints& quad : quads())
        deviations.push_back(largestDeviation(quad));
    std::sort(deviations.begin(), deviations.end());
    std::printf(
        "\nLargest deviation from OpenCV over 1920 x 1080, %zu cameras: median %.5f, worst %.5f pixels\n",
        deviations.size(), deviations[deviations.size() / 2], deviations.back());
}

#else

void printDeviation() {
    std::puts("\nBuilt without OpenCV: nothing to compare with.");
}

#endif

} // namespace
} // namespace lightpen::bench

int main(int argc, char** argv) {
    const int status = lightpen::bench::runWithRatios(
        argc, argv,
        {{"one point : OpenCV's perspectiveTransform", "mapWithoutLogLine", "openCVMapPoint", 1},
         {"one point, its line discarded : OpenCV's", "mapWithLogDiscarded", "openCVMapPoint"},
         {"one point by the session, its line discarded : OpenCV's", "mapByTheCenterWithLogDiscarded",
          "openCVMapPoint"},
         {"a block of 16 points : OpenCV's", "mapBlock/16", "openCVMapBlock/16", 1},
         {"a block of 1,024 points : OpenCV's", "mapBlock/1024", "openCVMapBlock/1024", 1},
         {"solving a calibrator : OpenCV's getPerspectiveTransform", "solve", "openCVSolve", 1}});
    if (status == 0)
        lightpen::bench::printDeviation();
    return status;
}
