// SPDX-License-Identifier: MIT
#include "unit/bus/SoftwareUnit.h"

#include <algorithm>
#include <utility>

namespace lightpen {

SoftwareUnit::SoftwareUnit(UnitDescription description, UnitSocket* socket, Eye& eye, WireHook* hook)
    : description_(std::move(description)), socket_(socket), hook_(hook ? *hook : noHook_),
      firmware_(description_.reportLength, eye, hook_, description_.information) {}

// The plug

void SoftwareUnit::plug() {
    const Hold held = holdCaughtUp();
    if (std::exchange(plugged_, true))
        return;
    waitingOutput_.clear();
    firmware_.powerUp(now_);
    if (socket_)
        socket_->unitPlugged(*this);
}

void SoftwareUnit::unplug() {
    const Hold held = holdCaughtUp();
    if (std::exchange(plugged_, false) && socket_)
        socket_->unitUnplugged(*this);
}

bool SoftwareUnit::plugged() const {
    const std::lock_guard held(mutex_);
    return plugged_;
}

void SoftwareUnit::leaveSocket(const UnitSocket& socket) {
    const std::lock_guard held(mutex_);
    if (socket_ != &socket)
        return;
    socket_ = nullptr;
    plugged_ = false;
}

// Time

void SoftwareUnit::onReport(ReportHook hook) {
    const std::lock_guard held(mutex_);
    reportHook_ = std::move(hook);
}

void SoftwareUnit::onOutput(OutputHook hook) {
    const std::lock_guard held(mutex_);
    outputHook_ = std::move(hook);
}

void SoftwareUnit::onKept(std::function<void()> hook) {
    const std::lock_guard held(mutex_);
    keptHook_ = std::move(hook);
}

void SoftwareUnit::schedule(Microseconds when, std::function<void()> action) {
    const std::lock_guard held(mutex_);
    actions_.emplace(when, std::move(action));
}

std::optional<Microseconds> SoftwareUnit::nextEvent() const {
    const std::lock_guard held(mutex_);
    std::optional<Microseconds> next;
    if (plugged_)
        next = firmware_.nextEvent();
    if (!actions_.empty())
        next = std::min(next.value_or(actions_.begin()->first), actions_.begin()->first);
    return next;
}

// The socket's clock goes on while nobody lets the unit catch up; an action runs at its own time.
Microseconds SoftwareUnit::currentTime() const {
    return socket_ && !acting_ ? socket_->now() : now_;
}

void SoftwareUnit::catchUp() {
    if (socket_ && !acting_)
        advance(socket_->now());
}

SoftwareUnit::Hold SoftwareUnit::holdCaughtUp() {
    Hold held = hold();
    catchUp();
    return held;
}

void SoftwareUnit::advance(Microseconds now) {
    const std::lock_guard held(mutex_);
    if (acting_)
        return;
    while (now_ <= now) {
        const Microseconds target = actions_.empty() ? now : std::clamp(actions_.begin()->first, now_, now);
        now_ = advanceFirmware(target);
        if (!actions_.empty() && actions_.begin()->first <= now_)
            runFirstAction();
        else if (now_ == now)
            return;
    }
}

void SoftwareUnit::runFirstAction() {
    const auto first = actions_.extract(actions_.begin());
    acting_ = true;
    first.mapped()();
    acting_ = false;
}

// Returns how far it came: a plug that is pulled on the way ends it, and what follows may depend on that.
Microseconds SoftwareUnit::advanceFirmware(Microseconds until) {
    if (!plugged_)
        return until;
    takeWaiting();
    while (plugged_) {
        const auto report = firmware_.next(until);
        if (!report)
            return until;
        now_ = std::max(now_, report->time);
        send(*report);
    }
    return now_;
}

// The exchange with the host

void SoftwareUnit::send(const UnitReport& report) {
    UnitReport sent = report;
    const auto cut = hook_.report(sent);
    if (cut == WireHook::Cut::before) {
        pullPlug(report.time);
        return;
    }
    if (reportHook_)
        reportHook_(sent);
    if (socket_)
        socket_->unitReport(*this, sent);
    if (cut == WireHook::Cut::after)
        pullPlug(report.time);
}

void SoftwareUnit::pullPlug(Microseconds time) {
    plugged_ = false;
    if (socket_)
        socket_->unitUnplugged(*this);
    if (const auto pause = hook_.pulled())
        schedule(time + *pause, [this] { plug(); });
}

bool SoftwareUnit::reads() const {
    const std::lock_guard held(mutex_);
    return hook_.reads();
}

SoftwareUnit::Output SoftwareUnit::output(std::span<const std::uint8_t> report, Microseconds now) {
    const std::lock_guard held(mutex_);
    advance(now);
    if (!plugged_)
        return Output::gone;
    if (!hook_.reads())
        return Output::notRead;
    takeWaiting();
    return take(report);
}

void SoftwareUnit::outputLater(std::span<const std::uint8_t> report) {
    const std::lock_guard held(mutex_);
    if (plugged_)
        waitingOutput_.emplace_back(report.begin(), report.end());
}

void SoftwareUnit::takeWaiting() {
    while (plugged_ && hook_.reads() && !waitingOutput_.empty()) {
        const ReportBytes report = std::move(waitingOutput_.front());
        waitingOutput_.pop_front();
        take(report);
    }
}

void SoftwareUnit::handle(std::span<const std::uint8_t> report) {
    if (!keptHook_)
        return firmware_.handleOutput(report, now_);
    const Flash flash = firmware_.flash;
    const PairingTable pairingTable = firmware_.pairingTable;
    firmware_.handleOutput(report, now_);
    if (!firmware_.flash.holdsSameAs(flash) || firmware_.pairingTable != pairingTable)
        keptHook_();
}

SoftwareUnit::Output SoftwareUnit::take(std::span<const std::uint8_t> report) {
    if (!plugged_)
        return Output::gone;
    const auto cut = hook_.command(report);
    if (cut == WireHook::Cut::before) {
        pullPlug(now_);
        return Output::gone;
    }
    if (outputHook_)
        outputHook_(now_, report);
    handle(report);
    if (cut == WireHook::Cut::after)
        pullPlug(now_);
    return Output::taken;
}

} // namespace lightpen
