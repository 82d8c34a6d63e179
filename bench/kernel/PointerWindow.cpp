// SPDX-License-Identifier: MIT
#include "bench/kernel/PointerWindow.h"

#include <array>
#include <stdexcept>
#include <utility>

#include "linux_desktop/process/SystemClock.h"

namespace lightpen::bench {

namespace {

// Presses, releases and moves have one layout.
CanvasEvent canvasEvent(const xcb_generic_event_t& event, Microseconds time) {
    const auto& button = reinterpret_cast<const xcb_button_press_event_t&>(event);
    CanvasEvent seen;
    seen.time = time;
    seen.position = {static_cast<double>(button.event_x), static_cast<double>(button.event_y)};
    const bool right = button.detail == XCB_BUTTON_INDEX_3;
    switch (event.response_type & 0x7f) {
    case XCB_BUTTON_PRESS:
        seen.kind = right ? CanvasEvent::Kind::rightPress : CanvasEvent::Kind::press;
        break;
    case XCB_BUTTON_RELEASE:
        seen.kind = right ? CanvasEvent::Kind::rightRelease : CanvasEvent::Kind::release;
        break;
    default:
        seen.kind = CanvasEvent::Kind::move;
    }
    return seen;
}

} // namespace

PointerWindow::PointerWindow(const std::string& display) : XClient(display) {
    show();
    thread_ = std::thread([this] { listen(); });
}

PointerWindow::~PointerWindow() {
    // The window's end is the last event that its thread waits for.
    xcb_destroy_window(connection(), window_);
    xcb_flush(connection());
    thread_.join();
}

void PointerWindow::show() {
    window_ = xcb_generate_id(connection());
    const std::array<std::uint32_t, 2> values{1, XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                                     XCB_EVENT_MASK_POINTER_MOTION |
                                                     XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(connection(), XCB_COPY_FROM_PARENT, window_, screen().root, 0, 0,
                      screen().width_in_pixels, screen().height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen().root_visual, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
    xcb_map_window(connection(), window_);
    xcb_flush(connection());
    while (const auto event = ownedReply(xcb_wait_for_event(connection())))
        if ((event->response_type & 0x7f) == XCB_MAP_NOTIFY)
            return;
    throw std::runtime_error("the display went away");
}

void PointerWindow::listen() {
    while (const auto event = ownedReply(xcb_wait_for_event(connection()))) {
        const int type = event->response_type & 0x7f;
        if (type == XCB_DESTROY_NOTIFY)
            return;
        if (type == XCB_BUTTON_PRESS || type == XCB_BUTTON_RELEASE || type == XCB_MOTION_NOTIFY)
            note(*event);
    }
}

void PointerWindow::note(const xcb_generic_event_t& event) {
    const Microseconds now = SystemClock().now();
    const std::lock_guard hold(mutex_);
    events_.push_back(canvasEvent(event, now));
}

std::vector<CanvasEvent> PointerWindow::takeEvents() {
    const std::lock_guard hold(mutex_);
    return std::exchange(events_, {});
}

} // namespace lightpen::bench
