// SPDX-License-Identifier: MIT
#include "measure/ReportDelays.h"

#include <algorithm>

#include "measure/Analysis.h"

namespace lightpen {

namespace {

using Kind = CanvasEvent::Kind;

constexpr Microseconds kMemory = std::chrono::milliseconds(500);

double milliseconds(Microseconds time) {
    return static_cast<double>(time.count()) / 1000;
}

// None when no report explains the event.
const SentReport* sourceOf(const CanvasEvent& event, const std::vector<SentReport>& sent) {
    const SentReport* nearest = nullptr;
    double shortest = kNearEnough;
    for (const SentReport& report : sent) {
        const Microseconds age = event.time - report.time;
        const double away = distance(report.place, event.position);
        if (age >= Microseconds::zero() && age <= kMemory && away <= shortest) {
            nearest = &report;
            shortest = away;
        }
    }
    return nearest;
}

} // namespace

std::vector<double> moveDelays(const std::vector<SentReport>& sent, const std::vector<CanvasEvent>& seen) {
    std::vector<double> delays;
    for (const CanvasEvent& event : seen) {
        const SentReport* const source = event.kind == Kind::move ? sourceOf(event, sent) : nullptr;
        if (source)
            delays.push_back(milliseconds(event.time - source->time));
    }
    return delays;
}

std::vector<double> pressDelays(const std::vector<SentReport>& sent, const std::vector<CanvasEvent>& seen) {
    std::vector<double> delays;
    const auto isFirst = [](const SentReport& report) { return report.first; };
    for (auto touch = std::find_if(sent.begin(), sent.end(), isFirst); touch != sent.end();) {
        const auto next = std::find_if(touch + 1, sent.end(), isFirst);
        const auto press = std::find_if(seen.begin(), seen.end(), [&](const CanvasEvent& event) {
            return event.kind == Kind::press && event.time >= touch->time;
        });
        if (press != seen.end() && (next == sent.end() || press->time < next->time))
            delays.push_back(milliseconds(press->time - touch->time));
        touch = next;
    }
    return delays;
}

} // namespace lightpen
