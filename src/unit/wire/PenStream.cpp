// SPDX-License-Identifier: MIT
#include "unit/wire/PenStream.h"

#include <algorithm>
#include <utility>

#include "unit/wire/PenReports.h"

namespace lightpen {

namespace {

// How many pictures pass for one report of a unit that is not steady.
constexpr unsigned kUnsteadyFrames = 4;
// What a unit sends as byte 0 that does not keep it plain: the letter of a stray-light reply.
constexpr std::uint8_t kMisleadingLetter = 's';

} // namespace

void PenStream::hush() {
    touching_ = false;
    afterTouch_.reset();
    afterCommand_.reset();
}

void PenStream::idleFrom(Microseconds from) {
    afterCommand_ = {from, from + kIdleTime};
}

UnitReport PenStream::sent(UnitReport report) {
    lastSent_ = report.time;
    return report;
}

std::optional<UnitReport> PenStream::frame(Microseconds now, std::optional<CameraPoint> spot,
                                           const UnitBehaviour& behaviour) {
    if (spot) {
        framesOfTouch_ = std::exchange(touching_, true) ? framesOfTouch_ + 1 : 0;
        if (!behaviour.steadyReports && framesOfTouch_ % kUnsteadyFrames != 0)
            return std::nullopt;
        UnitReport report{now, ReportKind::spot, 0, spotReport(*spot, behaviour.avoidsZeroLowByte)};
        if (!behaviour.plainFirstByte)
            report.bytes[0] = kMisleadingLetter;
        return sent(std::move(report));
    }
    if (!std::exchange(touching_, false) || !behaviour.endsWithPenUp)
        return std::nullopt;
    afterTouch_ = {now, now + kIdleTime};
    return sent({now, ReportKind::penUp, 0, noSpotReport()});
}

std::optional<Microseconds> PenStream::nextWithin(const std::optional<Window>& window,
                                                  const UnitBehaviour& behaviour) const {
    if (!window)
        return std::nullopt;
    const Microseconds period = behaviour.idleSlowly ? kIdlePeriod : kFrame;
    const Microseconds due = lastSent_ ? std::max(window->from, *lastSent_ + period) : window->from;
    if (behaviour.idleEnds && due >= window->to)
        return std::nullopt;
    return due;
}

std::optional<Microseconds> PenStream::nextIdle(const UnitBehaviour& behaviour) const {
    if (!behaviour.idleReports)
        return std::nullopt;
    if (endlessFrom_)
        return nextWithin(Window{*endlessFrom_, Microseconds::max()}, behaviour);
    if (spotInSight_)
        return std::nullopt;
    const auto touch = nextWithin(afterTouch_, behaviour);
    const auto command = nextWithin(afterCommand_, behaviour);
    return touch && command ? std::min(touch, command) : touch ? touch : command;
}

UnitReport PenStream::idle(Microseconds now) {
    return sent({now, ReportKind::penUp, 0, noSpotReport()});
}

} // namespace lightpen
