// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/KWinOutputOrder.h"

#include <poll.h>
#include <wayland-client.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include <QSocketNotifier>

namespace lightpen {

namespace {

using std::chrono::steady_clock;

// The protocol, version 1, whose description is part of no library. On the wire its first event is an
// output's name, its second one the end of the list; its only request ends it.
enum Event : std::uint32_t { outputEvent, doneEvent };
constexpr std::uint32_t kDestroyRequest = 0;
constexpr int kVersion = 1;

// The library wants a place for the types of objects among the arguments, of which there are none.
const wl_interface* noObject[] = {nullptr};
const wl_message kRequests[] = {{"destroy", "", noObject}};
const wl_message kEvents[] = {{"output", "s", noObject}, {"done", "", noObject}};
const wl_interface kOutputOrder{"kde_output_order_v1", kVersion, 1, kRequests, 2, kEvents};

} // namespace

KWinOutputOrder::KWinOutputOrder(std::function<void()> changed)
    : changed_(std::move(changed)), display_(wl_display_connect(nullptr)) {
    if (!display_)
        return;
    static const wl_registry_listener listener{globalCame, globalWent};
    registry_ = wl_display_get_registry(display_);
    wl_registry_add_listener(registry_, &listener, this);
    wl_display_flush(display_);
    news_ = std::make_unique<QSocketNotifier>(wl_display_get_fd(display_), QSocketNotifier::Read);
    connect(news_.get(), &QSocketNotifier::activated, this, &KWinOutputOrder::readNews);
}

KWinOutputOrder::~KWinOutputOrder() {
    if (!display_)
        return;
    unbind();
    wl_registry_destroy(registry_);
    news_.reset();
    wl_display_disconnect(display_);
}

// The first turn brings the list of what the compositor has, the second one what was asked for then.
void KWinOutputOrder::settle(steady_clock::time_point until) {
    if (display_ && roundTrip(until) && order_)
        roundTrip(until);
}

bool KWinOutputOrder::roundTrip(steady_clock::time_point until) {
    bool answered = false;
    static const wl_callback_listener listener{
        [](void* flag, wl_callback*, std::uint32_t) { *static_cast<bool*>(flag) = true; }};
    wl_callback* const callback = wl_display_sync(display_);
    wl_callback_add_listener(callback, &listener, &answered);
    for (auto now = steady_clock::now(); !answered && now < until; now = steady_clock::now())
        if (!read(std::chrono::ceil<std::chrono::milliseconds>(until - now)))
            break;
    wl_callback_destroy(callback); // an answer that comes later goes nowhere
    return answered;
}

// Sends what is to be sent and takes what has come, for which it waits this long; false once the compositor
// is gone.
bool KWinOutputOrder::read(std::chrono::milliseconds wait) {
    while (wl_display_prepare_read(display_) != 0)
        if (wl_display_dispatch_pending(display_) < 0)
            return false;
    wl_display_flush(display_); // a failure shows in the reading
    pollfd descriptor{wl_display_get_fd(display_), POLLIN, 0};
    if (poll(&descriptor, 1, static_cast<int>(wait.count())) > 0) {
        if (wl_display_read_events(display_) < 0 && errno != EAGAIN)
            return false;
    } else {
        wl_display_cancel_read(display_); // nothing has come, or a signal; the caller looks at the clock
    }
    return wl_display_dispatch_pending(display_) >= 0;
}

void KWinOutputOrder::readNews() {
    if (read(std::chrono::milliseconds(0))) {
        wl_display_flush(display_);
        return;
    }
    news_->setEnabled(false);
    set({});
}

void KWinOutputOrder::bind(std::uint32_t global) {
    global_ = global;
    order_ = static_cast<wl_proxy*>(wl_registry_bind(registry_, global, &kOutputOrder, kVersion));
    wl_proxy_add_dispatcher(order_, orderSaid, nullptr, this);
}

void KWinOutputOrder::unbind() {
    if (!order_)
        return;
    wl_proxy_marshal_flags(order_, kDestroyRequest, nullptr, kVersion, WL_MARSHAL_FLAG_DESTROY);
    order_ = nullptr;
    first_.reset();
}

void KWinOutputOrder::set(std::string name) {
    if (name == name_)
        return;
    name_ = std::move(name);
    changed_();
}

void KWinOutputOrder::globalCame(void* self, wl_registry*, std::uint32_t global, const char* interface,
                                 std::uint32_t) {
    auto& order = *static_cast<KWinOutputOrder*>(self);
    const std::string_view name = interface;
    if (!order.order_ && name == kOutputOrder.name)
        order.bind(global);
    order.isWeston_ = order.isWeston_ || name.starts_with("weston_");
}

void KWinOutputOrder::globalWent(void* self, wl_registry*, std::uint32_t global) {
    auto& order = *static_cast<KWinOutputOrder*>(self);
    if (!order.order_ || order.global_ != global)
        return;
    order.unbind();
    order.set({});
}

int KWinOutputOrder::orderSaid(const void*, void* order, std::uint32_t event, const wl_message*,
                               wl_argument* arguments) {
    auto& self = *static_cast<KWinOutputOrder*>(wl_proxy_get_user_data(static_cast<wl_proxy*>(order)));
    if (event == outputEvent && !self.first_)
        self.first_ = arguments[0].s;
    else if (event == doneEvent)
        self.set(std::exchange(self.first_, std::nullopt).value_or(std::string()));
    return 0;
}

} // namespace lightpen
