// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "measure/CanvasEvent.h"
#include "measure/desktop/XClient.h"

namespace lightpen::bench {

// A window over the whole screen that draws nothing: what it notes is when the X server's events arrive, and
// not what a toolkit makes of them.
class PointerWindow final : private XClient {
public:
    // Throws when there is no such display.
    explicit PointerWindow(const std::string& display);
    ~PointerWindow();

    // Presses, releases and moves since the last call. Any thread.
    std::vector<CanvasEvent> takeEvents();

private:
    void show();
    void listen();
    void note(const xcb_generic_event_t& event);

    xcb_window_t window_ = 0;
    std::mutex mutex_;
    std::vector<CanvasEvent> events_;
    std::thread thread_;
};

} // namespace lightpen::bench
