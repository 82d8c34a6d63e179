// SPDX-License-Identifier: MIT
#include "unit/wire/PenStream.h"

#include <algorithm>
#include <utility>

#include "unit/wire/PenReports.h"

namespace lightpen {

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

std::optional<UnitReport> PenStream::frame(Microseconds now, std::optional<CameraPoint> spot) {
    const bool touched = std::exchange(touching_, spot.has_value());
    if (spot)
        return sent({now, ReportKind::spot, 0, spotReport(*spot)});
    if (!touched)
        return std::nullopt;
    afterTouch_ = {now, now + kIdleTime};
    return sent({now, ReportKind::penUp, 0, noSpotReport()});
}

std::optional<Microseconds> PenStream::nextWithin(const std::optional<Window>& window) const {
    if (!window)
        return std::nullopt;
    const Microseconds due = lastSent_ ? std::max(window->from, *lastSent_ + kIdlePeriod) : window->from;
    return due < window->to ? std::optional(due) : std::nullopt;
}

std::optional<Microseconds> PenStream::nextIdle() const {
    if (endlessFrom_)
        return nextWithin(Window{*endlessFrom_, Microseconds::max()});
    if (spotInSight_)
        return std::nullopt;
    const auto touch = nextWithin(afterTouch_);
    const auto command = nextWithin(afterCommand_);
    return touch && command ? std::min(touch, command) : touch ? touch : command;
}

UnitReport PenStream::idle(Microseconds now) {
    return sent({now, ReportKind::penUp, 0, noSpotReport()});
}

} // namespace lightpen
