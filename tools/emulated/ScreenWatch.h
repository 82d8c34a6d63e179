// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <stop_token>
#include <thread>

#include "emulated/ScreenCapture.h"
#include "unit/CameraUnit.h"

namespace lightpen {

// Lets a camera unit see the screen: about 30 times a second, on a thread of its own, whatever has changed
// there is shown to it.
class ScreenWatch {
public:
    // The unit outlives the watch.
    ScreenWatch(std::unique_ptr<ScreenCapture> capture, CameraUnit& unit);
    // Ends the thread. The unit keeps what it saw last.
    ~ScreenWatch() = default;
    ScreenWatch(const ScreenWatch&) = delete;
    ScreenWatch& operator=(const ScreenWatch&) = delete;

private:
    void run(const std::stop_token& stop);

    const std::unique_ptr<ScreenCapture> capture_;
    CameraUnit& unit_;
    std::jthread thread_;
};

} // namespace lightpen
