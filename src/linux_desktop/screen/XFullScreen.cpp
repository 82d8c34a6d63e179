// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/XFullScreen.h"

#include <xcb/xfixes.h>

#include <utility>

namespace lightpen {

namespace {

// From this version on the server hides cursors.
constexpr std::uint32_t kFixesVersion = 4;
// Who asks the window manager: a pager, which speaks for the user, where an application might be refused.
constexpr std::uint32_t kSourcePager = 2;

bool serverHidesCursors(xcb_connection_t* connection) {
    const auto* extension = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (!extension || !extension->present)
        return false;
    const auto version = owned(xcb_xfixes_query_version_reply(
        connection, xcb_xfixes_query_version(connection, kFixesVersion, 0), nullptr));
    return version && version->major_version >= kFixesVersion;
}

} // namespace

std::unique_ptr<XFullScreen> XFullScreen::connect(const char* display) {
    XConnection connection = connectToX(display);
    return connection ? std::unique_ptr<XFullScreen>(new XFullScreen(std::move(connection))) : nullptr;
}

XFullScreen::XFullScreen(XConnection connection)
    : connection_(std::move(connection)), root_(rootOf(connection_.get())),
      hidesCursors_(serverHidesCursors(connection_.get())),
      supportingWindowAtom_(atomOf(connection_.get(), "_NET_SUPPORTING_WM_CHECK")),
      activeWindowAtom_(atomOf(connection_.get(), "_NET_ACTIVE_WINDOW")) {}

bool XFullScreen::hideCursor() {
    if (!hidesCursors_)
        return false;
    xcb_xfixes_hide_cursor(connection_.get(), root_);
    return xcb_flush(connection_.get()) > 0;
}

void XFullScreen::showCursor() {
    if (!hidesCursors_)
        return;
    xcb_xfixes_show_cursor(connection_.get(), root_);
    xcb_flush(connection_.get());
}

// The root's property outlives a window manager that crashed; its window does not.
bool XFullScreen::managed() {
    const Window window = windowIn(connection_.get(), root_, supportingWindowAtom_);
    return window != XCB_WINDOW_NONE && windowIn(connection_.get(), window, supportingWindowAtom_) == window;
}

XFullScreen::Window XFullScreen::focus() {
    const auto reply =
        owned(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
    return reply ? reply->focus : Window{XCB_WINDOW_NONE};
}

void XFullScreen::setFocus(Window window) {
    xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    focus();
}

void XFullScreen::activate(Window window) {
    xcb_client_message_event_t request{};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = window;
    request.type = activeWindowAtom_;
    request.data.data32[0] = kSourcePager;
    request.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(connection_.get(), 0, root_,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&request));
    xcb_flush(connection_.get());
}

void XFullScreen::raise(Window window) {
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_.get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(connection_.get());
}

void XFullScreen::selectEvents(Window window, std::uint32_t events) {
    xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &events);
}

void XFullScreen::watch(Window window) {
    if (watched_ != XCB_WINDOW_NONE)
        selectEvents(watched_, XCB_EVENT_MASK_NO_EVENT);
    watched_ = window;
    if (watched_ != XCB_WINDOW_NONE)
        selectEvents(watched_, XCB_EVENT_MASK_VISIBILITY_CHANGE | XCB_EVENT_MASK_FOCUS_CHANGE);
    focus();
}

XFullScreen::News XFullScreen::takeNews() {
    News news;
    while (const auto event = owned(xcb_poll_for_event(connection_.get()))) {
        const int type = event->response_type & 0x7F;
        if (type == XCB_VISIBILITY_NOTIFY) {
            const auto& change = *reinterpret_cast<const xcb_visibility_notify_event_t*>(event.get());
            if (change.window == watched_)
                news.covered = change.state != XCB_VISIBILITY_UNOBSCURED;
        } else if (type == XCB_FOCUS_IN) {
            const auto& change = *reinterpret_cast<const xcb_focus_in_event_t*>(event.get());
            // A grab takes the keyboard alone and looks the same but for its mode.
            const bool grab = change.mode == XCB_NOTIFY_MODE_GRAB || change.mode == XCB_NOTIFY_MODE_UNGRAB;
            news.focused |= change.event == watched_ && !grab;
        }
    }
    return news;
}

} // namespace lightpen
