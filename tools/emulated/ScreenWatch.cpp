// SPDX-License-Identifier: MIT
#include "emulated/ScreenWatch.h"

#include <chrono>
#include <utility>

namespace lightpen {

namespace {

constexpr std::chrono::milliseconds kPeriod{33};

} // namespace

ScreenWatch::ScreenWatch(std::unique_ptr<ScreenCapture> capture, CameraUnit& unit)
    : capture_(std::move(capture)), unit_(unit), thread_([this](const std::stop_token& stop) { run(stop); }) {
}

void ScreenWatch::run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        if (capture_->changed()) {
            const auto picture = capture_->look();
            // Without a screen there is no light.
            unit_.display(picture ? cameraView(*picture) : DisplayedPicture{{}, true});
        }
        std::this_thread::sleep_for(kPeriod);
    }
}

} // namespace lightpen
