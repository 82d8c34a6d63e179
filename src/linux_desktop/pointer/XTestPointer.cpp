// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/XTestPointer.h"

#include <poll.h>
#include <xcb/xcbext.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <limits>
#include <system_error>
#include <utility>

#include <QByteArray>

#include "linux_desktop/process/SignalMask.h"
#include "platform/FileDescriptor.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr std::uint8_t kLeftButton = 1;
constexpr std::uint8_t kRightButton = 3;
constexpr std::uint8_t kAbsolute = 0;
constexpr int kAwaitRounds = 20;
constexpr int kAwaitMilliseconds = 25;
// How long a server that is only behind, after a burst of events, has to catch up: once, then it hangs.
constexpr int kBurstMilliseconds = 100;
// How long the last word to a server that hangs is tried, and how often the rest is, in milliseconds.
constexpr int kLastWordMilliseconds = 500;
constexpr int kLaterMilliseconds = 50;
// Button events that wait for a server that hangs: with their places far below the library's 16 KiB, at whose
// end it would write, and wait. Releases have a few more, so that no press is the last.
constexpr int kMostUnsent = 100;
constexpr int kMoreReleases = 2;

// The protocol's coordinates have 16 bits; beyond them the server's own limit is the desktop's edge anyway.
std::int16_t coordinate(int pixel) {
    using Limits = std::numeric_limits<std::int16_t>;
    return static_cast<std::int16_t>(std::clamp<int>(pixel, Limits::min(), Limits::max()));
}

// The server keeps a button down whose program was killed in a stroke, until somebody releases it.
void releaseEverything(xcb_connection_t* connection) {
    for (const std::uint8_t button : {kLeftButton, kRightButton})
        xcb_test_fake_input(connection, XCB_BUTTON_RELEASE, button, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_flush(connection);
}

} // namespace

std::unique_ptr<XTestPointer> XTestPointer::create(const char* display, std::string& problem) {
    XConnection connection = connectToX(display);
    if (!connection) {
        const std::string name = display ? display : qgetenv("DISPLAY").toStdString();
        problem = "no X display" + (name.empty() ? "" : " " + name);
        return nullptr;
    }
    const auto* extension = xcb_get_extension_data(connection.get(), &xcb_test_id);
    if (!extension || !extension->present) {
        problem = "the X server has no test extension";
        return nullptr;
    }
    releaseEverything(connection.get());
    return std::unique_ptr<XTestPointer>(new XTestPointer(std::move(connection)));
}

IOReturn XTestPointer::send(std::optional<Place> place, Button button, bool press) {
    const int patience = !place ? kLastWordMilliseconds : hangs_ ? 0 : kBurstMilliseconds;
    const bool hangs = !takesMore(patience);
    if (hangs && !std::exchange(hangs_, true))
        logLine("Pointer: the X server does not read its events");
    hangs_ = hangs;
    if (hangs && (button == Button::none || unsent_ >= kMostUnsent + (press ? 0 : kMoreReleases)))
        return kIOReturnNoDevice;
    append(place, button, press);
    unsent_ = hangs ? unsent_ + 1 : 0;
    if (hangs) {
        flushLater();
        return kIOReturnSuccess;
    }
    if (xcb_flush(connection_.get()) > 0) {
        if (!place)
            awaitServer();
        discardMessages();
        return kIOReturnSuccess;
    }
    if (!std::exchange(failureLogged_, true))
        logLine("Pointer: the X server takes no events any more");
    return kIOReturnNoDevice;
}

// Into the library's memory.
void XTestPointer::append(std::optional<Place> place, Button button, bool press) {
    xcb_connection_t* connection = connection_.get();
    if (place)
        xcb_test_fake_input(connection, XCB_MOTION_NOTIFY, kAbsolute, XCB_CURRENT_TIME, XCB_NONE,
                            coordinate(place->pixel.x), coordinate(place->pixel.y), 0);
    if (button != Button::none)
        xcb_test_fake_input(connection, press ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE,
                            button == Button::left ? kLeftButton : kRightButton, XCB_CURRENT_TIME, XCB_NONE,
                            0, 0, 0);
}

// Whether the connection has room within that time, or has an end to tell of. The library waits for room
// without one, and the kernel says that there is some while a good part is free: more than is ever written
// here.
bool XTestPointer::takesMore(int milliseconds) const {
    pollfd polled{xcb_get_file_descriptor(connection_.get()), POLLOUT, 0};
    return retryInterrupted([&] { return poll(&polled, 1, milliseconds); }) != 0;
}

// A touch that ends while the server hangs may be the last for long, and nobody else would send its release.
void XTestPointer::flushLater() {
    if (later_.joinable() && !laterIsOver_)
        return;
    laterIsOver_ = false;
    const AllSignalsBlocked inherited;
    try {
        later_ = std::jthread([this](const std::stop_token& end) {
            while (!end.stop_requested() && !takesMore(kLaterMilliseconds)) {
            }
            laterIsOver_ = true;
            if (!end.stop_requested())
                xcb_flush(connection_.get());
        });
    } catch (const std::system_error&) {
        laterIsOver_ = true; // the next event takes the rest along
    }
}

// A program that lets go is about to close its connection, perhaps by ending. The server reads nothing more
// from a connection that was closed over unread news, so its answer is awaited, for as long as a server that
// lives takes.
void XTestPointer::awaitServer() {
    const auto request = xcb_get_input_focus(connection_.get());
    xcb_flush(connection_.get());
    for (int i = 0; i < kAwaitRounds && !xcb_connection_has_error(connection_.get()); ++i) {
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        const bool answered = xcb_poll_for_reply(connection_.get(), request.sequence, &reply, &error) != 0;
        const auto replyOwner = owned(reply);
        const auto errorOwner = owned(error);
        if (answered)
            return;
        pollfd polled{xcb_get_file_descriptor(connection_.get()), POLLIN, 0};
        retryInterrupted([&] { return poll(&polled, 1, kAwaitMilliseconds); });
    }
}

// Errors and the news that every client gets would otherwise pile up.
void XTestPointer::discardMessages() {
    while (owned(xcb_poll_for_event(connection_.get()))) {
    }
}

} // namespace lightpen
