// SPDX-License-Identifier: MIT
#include "unit/CameraUnit.h"

#include <algorithm>
#include <utility>

namespace lightpen {

CameraUnit::CameraUnit(UnitDescription description, UnitSocket* socket)
    : description_(std::move(description)), socket_(socket),
      firmware_(description_.reportLength, description_.information), optics_(description_.optics) {}

// The plug

void CameraUnit::plug() {
    const std::lock_guard hold(mutex_);
    catchUp();
    if (std::exchange(plugged_, true))
        return;
    waitingOutput_.clear();
    firmware_.powerUp(now_);
    if (socket_)
        socket_->unitPlugged(*this);
}

void CameraUnit::unplug() {
    const std::lock_guard hold(mutex_);
    catchUp();
    if (std::exchange(plugged_, false) && socket_)
        socket_->unitUnplugged(*this);
}

bool CameraUnit::plugged() const {
    const std::lock_guard hold(mutex_);
    return plugged_;
}

void CameraUnit::leaveSocket(const UnitSocket& socket) {
    const std::lock_guard hold(mutex_);
    if (socket_ != &socket)
        return;
    socket_ = nullptr;
    plugged_ = false;
}

// The pen and the room

void CameraUnit::setPen(Pen pen) {
    const std::lock_guard hold(mutex_);
    catchUp();
    if (auto* playing = std::get_if<Playing>(&pen))
        playing->start = now_;
    pen_ = std::move(pen);
}

void CameraUnit::touch(ScreenPoint point) {
    setPen(point);
}

void CameraUnit::spotAt(CameraPoint point) {
    setPen(point);
}

void CameraUnit::lift() {
    setPen({});
}

void CameraUnit::play(Hand hand) {
    setPen(Playing{std::move(hand), {}});
}

Microseconds CameraUnit::toPlay() const {
    const std::lock_guard hold(mutex_);
    const auto* playing = std::get_if<Playing>(&pen_);
    if (!playing)
        return Microseconds::zero();
    return std::max(playing->start + playing->hand.duration() - currentTime(), Microseconds::zero());
}

std::optional<ScreenPoint> CameraUnit::penOnScreen(Microseconds time) const {
    const std::lock_guard hold(mutex_);
    if (const auto* playing = std::get_if<Playing>(&pen_))
        return playing->hand.at(time - playing->start);
    if (const auto* point = std::get_if<ScreenPoint>(&pen_))
        return *point;
    return std::nullopt;
}

void CameraUnit::strayLight(std::optional<CameraPoint> light) {
    const std::lock_guard hold(mutex_);
    catchUp();
    strayLight_ = light;
}

void CameraUnit::display(DisplayedPicture picture) {
    const std::lock_guard hold(mutex_);
    catchUp();
    displayed_ = std::move(picture);
}

void CameraUnit::moveCamera(Optics optics) {
    const std::lock_guard hold(mutex_);
    catchUp();
    optics_ = optics;
}

Optics CameraUnit::optics() const {
    const std::lock_guard hold(mutex_);
    return optics_;
}

Scene CameraUnit::scene() const {
    const std::lock_guard hold(mutex_);
    return sceneAt(currentTime());
}

std::optional<CameraPoint> CameraUnit::penSeen(Microseconds time) const {
    if (const auto* point = std::get_if<CameraPoint>(&pen_))
        return *point;
    const auto onScreen = penOnScreen(time);
    return onScreen ? optics_.see(*onScreen, time) : std::nullopt;
}

Scene CameraUnit::sceneAt(Microseconds time) const {
    const Optics::Corners& screen = optics_.corners();
    Scene scene{penSeen(time),
                strayLight_,
                {},
                displayed_.dark,
                std::array{screen.topLeft, screen.topRight, screen.bottomRight, screen.bottomLeft}};
    for (const ScreenPoint& blob : displayed_.blobs)
        if (const auto seen = optics_.see(blob, time))
            scene.blobs.push_back(*seen);
    return scene;
}

// Time

void CameraUnit::onReport(ReportHook hook) {
    const std::lock_guard hold(mutex_);
    reportHook_ = std::move(hook);
}

void CameraUnit::onOutput(OutputHook hook) {
    const std::lock_guard hold(mutex_);
    outputHook_ = std::move(hook);
}

void CameraUnit::schedule(Microseconds when, Action action) {
    const std::lock_guard hold(mutex_);
    actions_.emplace(when, std::move(action));
}

std::optional<Microseconds> CameraUnit::nextEvent() const {
    const std::lock_guard hold(mutex_);
    std::optional<Microseconds> next;
    if (plugged_)
        next = firmware_.nextEvent();
    if (!actions_.empty())
        next = std::min(next.value_or(actions_.begin()->first), actions_.begin()->first);
    return next;
}

// The socket's clock goes on while nobody lets the unit catch up; an action runs at its own time.
Microseconds CameraUnit::currentTime() const {
    return socket_ && !acting_ ? socket_->now() : now_;
}

void CameraUnit::catchUp() {
    if (socket_ && !acting_)
        advance(socket_->now());
}

void CameraUnit::advance(Microseconds now) {
    const std::lock_guard hold(mutex_);
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

void CameraUnit::runFirstAction() {
    const auto first = actions_.extract(actions_.begin());
    acting_ = true;
    first.mapped()(*this);
    acting_ = false;
}

// Returns how far it came: a plug that is pulled on the way ends it, and what follows may depend on that.
Microseconds CameraUnit::advanceFirmware(Microseconds until) {
    if (!plugged_)
        return until;
    takeWaiting();
    const auto scene = [this](Microseconds time) { return sceneAt(time); };
    while (plugged_) {
        const auto report = firmware_.next(until, scene);
        if (!report)
            return until;
        now_ = std::max(now_, report->time);
        send(*report);
    }
    return now_;
}

// The exchange with the host

void CameraUnit::send(const UnitReport& report) {
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

std::optional<UnplugPoint> CameraUnit::unplugAt(const UnitReport& reply) const {
    const auto& fault = firmware_.faults.unplug;
    const bool isReply = reply.kind == ReportKind::answer || reply.kind == ReportKind::picture;
    if (!fault || !isReply || fault->occurrence > 0 ||
        fault->command.value_or(reply.command) != reply.command)
        return std::nullopt;
    return fault;
}

void CameraUnit::pullPlug(Microseconds time) {
    const auto fault = std::exchange(firmware_.faults.unplug, std::nullopt);
    plugged_ = false;
    if (socket_)
        socket_->unitUnplugged(*this);
    if (fault && fault->replugAfter)
        schedule(time + *fault->replugAfter, [](CameraUnit& unit) { unit.plug(); });
}

CameraUnit::Output CameraUnit::output(std::span<const std::uint8_t> report, Microseconds now) {
    const std::lock_guard hold(mutex_);
    advance(now);
    if (!plugged_)
        return Output::gone;
    if (firmware_.faults.doesNotReadOutput)
        return Output::notRead;
    takeWaiting();
    return take(report);
}

void CameraUnit::outputLater(std::span<const std::uint8_t> report) {
    const std::lock_guard hold(mutex_);
    if (plugged_)
        waitingOutput_.emplace_back(report.begin(), report.end());
}

void CameraUnit::takeWaiting() {
    while (plugged_ && !firmware_.faults.doesNotReadOutput && !waitingOutput_.empty()) {
        const ReportBytes report = std::move(waitingOutput_.front());
        waitingOutput_.pop_front();
        take(report);
    }
}

// True when the plug is to be pulled around this command; counts the commands until then.
bool CameraUnit::reachesUnplug(std::span<const std::uint8_t> command) {
    auto& fault = firmware_.faults.unplug;
    if (!fault || fault->occurrence <= 0)
        return false;
    const std::uint8_t letter = command.empty() ? std::uint8_t{0} : command.front();
    return fault->command.value_or(letter) == letter && --fault->occurrence == 0;
}

CameraUnit::Output CameraUnit::take(std::span<const std::uint8_t> report) {
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
