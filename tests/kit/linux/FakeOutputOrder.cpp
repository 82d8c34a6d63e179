// SPDX-License-Identifier: MIT
#include "kit/linux/FakeOutputOrder.h"

#include <sys/eventfd.h>
#include <wayland-server.h>

#include <stdexcept>
#include <utility>

namespace lightpen {

namespace {

// Written out once more, from the protocol's description, so that an error there cannot agree with itself.
enum Event : std::uint32_t { output = 0, done = 1 };
const wl_interface* noObject[] = {nullptr};
const wl_message requests[] = {{"destroy", "", noObject}};
const wl_message events[] = {{"output", "s", noObject}, {"done", "", noObject}};
const wl_interface orderInterface{"kde_output_order_v1", 1, 1, requests, 2, events};

struct OrderRequests {
    void (*destroy)(wl_client*, wl_resource*);
};
const OrderRequests orderRequests{[](wl_client*, wl_resource* listener) { wl_resource_destroy(listener); }};

} // namespace

FakeOutputOrder::FakeOutputOrder()
    : display_(wl_display_create()), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    const char* name = wl_display_add_socket_auto(display_);
    if (!name)
        throw std::runtime_error("no socket for a compositor");
    socket_ = name;
    source_ =
        wl_event_loop_add_fd(wl_display_get_event_loop(display_), wake_.get(), WL_EVENT_READABLE, wake, this);
    thread_ = std::thread([this] { serve(); });
}

FakeOutputOrder::~FakeOutputOrder() {
    perform([this] { serving_ = false; });
    thread_.join();
    wl_event_source_remove(source_);
    wl_display_destroy_clients(display_);
    wl_display_destroy(display_);
}

void FakeOutputOrder::beWeston() {
    static const wl_interface shell{"weston_desktop_shell", 1, 0, nullptr, 0, nullptr};
    perform([this] {
        wl_global_create(display_, &shell, 1, nullptr,
                         [](wl_client*, void*, std::uint32_t, std::uint32_t) {});
    });
}

void FakeOutputOrder::appear() {
    perform([this] { global_ = wl_global_create(display_, &orderInterface, 1, this, bind); });
}

void FakeOutputOrder::disappear() {
    perform([this] { wl_global_destroy(std::exchange(global_, nullptr)); });
}

void FakeOutputOrder::setOrder(std::vector<std::string> outputs, bool toTheEnd) {
    perform([this, &outputs, toTheEnd] {
        order_ = std::move(outputs);
        for (wl_resource* listener : listeners_)
            tell(listener, toTheEnd);
    });
}

std::size_t FakeOutputOrder::listeners() {
    std::size_t count = 0;
    perform([&] { count = listeners_.size(); });
    return count;
}

void FakeOutputOrder::stall() {
    goingOn_ = {};
    post([goingOn = goingOn_.get_future().share()] { goingOn.wait(); });
}

void FakeOutputOrder::serve() {
    while (serving_) {
        wl_event_loop_dispatch(wl_display_get_event_loop(display_), -1);
        wl_display_flush_clients(display_);
    }
}

void FakeOutputOrder::post(std::function<void()> operation) {
    const std::lock_guard hold(mutex_);
    posted_.push_back(std::move(operation));
    eventfd_write(wake_.get(), 1);
}

void FakeOutputOrder::perform(const std::function<void()>& operation) {
    std::promise<void> performed;
    post([&] {
        operation();
        wl_display_flush_clients(display_);
        performed.set_value();
    });
    performed.get_future().wait();
}

int FakeOutputOrder::wake(int descriptor, std::uint32_t, void* self) {
    auto& server = *static_cast<FakeOutputOrder*>(self);
    eventfd_t count = 0;
    eventfd_read(descriptor, &count);
    std::vector<std::function<void()>> now;
    {
        const std::lock_guard hold(server.mutex_);
        now.swap(server.posted_);
    }
    for (const auto& operation : now)
        operation();
    return 0;
}

void FakeOutputOrder::tell(wl_resource* listener, bool toTheEnd) const {
    for (const std::string& name : order_)
        wl_resource_post_event(listener, output, name.c_str());
    if (toTheEnd)
        wl_resource_post_event(listener, done);
}

void FakeOutputOrder::bind(wl_client* client, void* self, std::uint32_t version, std::uint32_t id) {
    auto& server = *static_cast<FakeOutputOrder*>(self);
    wl_resource* const listener = wl_resource_create(client, &orderInterface, static_cast<int>(version), id);
    wl_resource_set_implementation(listener, &orderRequests, self, forget);
    server.listeners_.push_back(listener);
    server.tell(listener, true);
}

void FakeOutputOrder::forget(wl_resource* listener) {
    auto& server = *static_cast<FakeOutputOrder*>(wl_resource_get_user_data(listener));
    std::erase(server.listeners_, listener);
}

} // namespace lightpen
