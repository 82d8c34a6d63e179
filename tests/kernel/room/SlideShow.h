// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>

#include "platform/Geometry.h"

namespace lightpen {

// Slides that change behind whatever the user does: bright ones with dark text and dark ones with bright
// text, painted over all windows without being a window, so that the pointer reaches what is below. On a
// thread of its own.
class SlideShow {
public:
    // On the display of that name, from now on, a new slide each time this has passed.
    SlideShow(const std::string& display, Size screen, std::chrono::milliseconds period);
    ~SlideShow();
    SlideShow(const SlideShow&) = delete;
    SlideShow& operator=(const SlideShow&) = delete;

    // How many have been shown.
    unsigned slides() const { return slides_; }

private:
    class Painter;
    void run(const std::stop_token& stop);

    const std::unique_ptr<Painter> painter_;
    const std::chrono::milliseconds period_;
    std::atomic<unsigned> slides_{0};
    std::jthread thread_;
};

} // namespace lightpen
