// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/FileDescriptor.h"

struct wl_client;
struct wl_display;
struct wl_event_source;
struct wl_global;
struct wl_resource;

namespace lightpen {

// A Wayland compositor that has one thing to tell: the order of its outputs, as KWin announces it. It answers
// from a thread of its own. Methods are called from the test's thread and return when they have been done.
class FakeOutputOrder {
public:
    // Serves on a socket in XDG_RUNTIME_DIR; has nothing to tell yet. Throws when there is no socket.
    FakeOutputOrder();
    ~FakeOutputOrder();
    FakeOutputOrder(const FakeOutputOrder&) = delete;
    FakeOutputOrder& operator=(const FakeOutputOrder&) = delete;

    // Its name, for WAYLAND_DISPLAY.
    const std::string& socket() const { return socket_; }
    // It shows what weston has.
    void beWeston();
    // From now on it has an order to tell, and tells it to everyone who asks.
    void appear();
    // It has none any more.
    void disappear();
    // The order changes; who has asked is told, of a list without an end where it says so.
    void setOrder(std::vector<std::string> outputs, bool toTheEnd = true);
    // How many clients listen.
    std::size_t listeners();
    // It answers nobody until it goes on.
    void stall();
    void goOn() { goingOn_.set_value(); }

private:
    void serve();
    void perform(const std::function<void()>& operation);
    void post(std::function<void()> operation);
    void tell(wl_resource* listener, bool toTheEnd) const;

    static void bind(wl_client* client, void* self, std::uint32_t version, std::uint32_t id);
    static void forget(wl_resource* listener);
    static int wake(int descriptor, std::uint32_t mask, void* self);

    wl_display* const display_;
    std::string socket_;
    wl_global* global_ = nullptr;
    std::vector<std::string> order_;
    std::vector<wl_resource*> listeners_;
    FileDescriptor wake_;               // readable when something has been posted
    wl_event_source* source_ = nullptr; // of its being readable
    std::mutex mutex_;
    std::vector<std::function<void()>> posted_; // under the mutex
    std::promise<void> goingOn_;
    bool serving_ = true; // the thread's
    std::thread thread_;
};

} // namespace lightpen
