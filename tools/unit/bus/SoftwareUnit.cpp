// SPDX-License-Identifier: MIT
#include "unit/bus/SoftwareUnit.h"

#include <algorithm>
#include <utility>

namespace lightpen {

SoftwareUnit::SoftwareUnit(UnitDescription description, UnitSocket* socket, Eye& eye)
    : description_(std::move(description)), socket_(socket), eye_(eye),
      firmware_(description_.reportLength, description_.information) {}

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
        const auto report = firmware_.next(until, eye_);
        if (!report)
            return until;
        now_ = std::max(now_, report->time);
        send(*report);
    }
    return now_;
}

// The exchange with the host

void SoftwareUnit::send(const UnitReport& report) {
    const auto fault = unplugAt(report);
    if (fault && fault->when == UnplugPoint::When::beforeReply) {
        pullPlug(report.time);
        return;
    }
    UnitReport sent = report;
    if (fault && fault->when == UnplugPoint::When::midReply)
        sent.bytes.resize(std::min(sent.bytes.size(), fault->replyBytes));
    if (reportHook_)
        reportHook_(sent);
    if (socket_)
        socket_->unitReport(*this, sent);
    if (fault)
        pullPlug(report.time);
}

std::optional<UnplugPoint> SoftwareUnit::unplugAt(const UnitReport& reply) const {
    const auto& fault = firmware_.faults.unplug;
    const bool isReply = reply.kind == ReportKind::answer || reply.kind == ReportKind::picture;
    if (!fault || !isReply || fault->occurrence > 0 ||
        fault->command.value_or(reply.command) != reply.command)
        return std::nullopt;
    return fault;
}

void SoftwareUnit::pullPlug(Microseconds time) {
    const auto fault = std::exchange(firmware_.faults.unplug, std::nullopt);
    plugged_ = false;
    if (socket_)
        socket_->unitUnplugged(*this);
    if (fault && fault->replugAfter)
        schedule(time + *fault->replugAfter, [this] { plug(); });
}

SoftwareUnit::Output SoftwareUnit::output(std::span<const std::uint8_t> report, Microseconds now) {
    const std::lock_guard held(mutex_);
    advance(now);
    if (!plugged_)
        return Output::gone;
    if (firmware_.faults.doesNotReadOutput)
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
    while (plugged_ && !firmware_.faults.doesNotReadOutput && !waitingOutput_.empty()) {
        const ReportBytes report = std::move(waitingOutput_.front());
        waitingOutput_.pop_front();
        take(report);
    }
}

// True when the plug is to be pulled around this command; counts the commands until then.
bool SoftwareUnit::reachesUnplug(std::span<const std::uint8_t> command) {
    auto& fault = firmware_.faults.unplug;
    if (!fault || fault->occurrence <= 0)
        return false;
    const std::uint8_t letter = command.empty() ? std::uint8_t{0} : command.front();
    return fault->command.value_or(letter) == letter && --fault->occurrence == 0;
}

SoftwareUnit::Output SoftwareUnit::take(std::span<const std::uint8_t> report) {
    if (!plugged_)
        return Output::gone;
    const bool reached = reachesUnplug(report);
    const auto when = reached ? firmware_.faults.unplug->when : UnplugPoint::When::afterReply;
    if (when == UnplugPoint::When::beforeCommand) {
        pullPlug(now_);
        return Output::gone;
    }
    if (outputHook_)
        outputHook_(now_, report);
    firmware_.handleOutput(report, now_);
    if (when == UnplugPoint::When::afterCommand)
        pullPlug(now_);
    return Output::taken;
}

} // namespace lightpen
