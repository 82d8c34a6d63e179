// SPDX-License-Identifier: MIT
#include "measure/Analysis.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <numeric>
#include <optional>

namespace lightpen {

namespace {

using Injected = InjectedEvent::Kind;
using Seen = CanvasEvent::Kind;

double nearestRank(const std::vector<double>& sorted, double part) {
    const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(sorted.size())));
    return sorted[std::max<std::size_t>(rank, 1) - 1];
}

std::optional<Injected> sourceOf(Seen kind) {
    switch (kind) {
    case Seen::press:
        return Injected::press;
    case Seen::move:
        return Injected::move;
    case Seen::release:
        return Injected::release;
    case Seen::rightPress:
        return Injected::rightPress;
    case Seen::rightRelease:
        return Injected::rightRelease;
    default:
        return std::nullopt;
    }
}

// What the canvas saw between the start of a touch and that of the next one.
struct Landing {
    const CanvasEvent* press = nullptr;   // the first one
    const CanvasEvent* release = nullptr; // the last one
    bool rightClick = false;
};

std::vector<Landing> landings(const DemoRecord& record) {
    std::vector<Landing> result(record.touches.size());
    for (const CanvasEvent& event : record.seen) {
        const auto next =
            std::upper_bound(record.touches.begin(), record.touches.end(), event.time,
                             [](Microseconds time, const HandTouch& touch) { return time < touch.start; });
        if (next == record.touches.begin())
            continue;
        Landing& landing = result[static_cast<std::size_t>(next - record.touches.begin() - 1)];
        if (event.kind == Seen::press && !landing.press)
            landing.press = &event;
        if (event.kind == Seen::release)
            landing.release = &event;
        if (event.kind == Seen::contextMenu)
            landing.rightClick = true;
    }
    return result;
}

void lossesOfTouches(const DemoRecord& record, std::vector<std::string>& sentences) {
    const std::vector<Landing> landed = landings(record);
    for (std::size_t i = 0; i < landed.size(); ++i) {
        const HandTouch& touch = record.touches[i];
        if (!onScreen(touch, record.screen))
            continue;
        const std::string which = formatted("The touch at (%.0f, %.0f)", touch.first.x, touch.first.y);
        if (!landed[i].press)
            sentences.push_back(which + " was not seen as a press.");
        else if (!landed[i].release)
            sentences.push_back(which + " was never released.");
        if (touch.longPress && !landed[i].rightClick)
            sentences.push_back(which + " was held, and no context menu was asked for.");
    }
}

void lossesOfEvents(const DemoRecord& record, std::vector<std::string>& sentences) {
    struct Pair {
        Injected injected;
        Seen seen;
        const char* name;
    };
    constexpr Pair kPairs[] = {{Injected::press, Seen::press, "presses"},
                               {Injected::release, Seen::release, "releases"},
                               {Injected::rightPress, Seen::rightPress, "right presses"},
                               {Injected::rightRelease, Seen::rightRelease, "right releases"}};
    for (const Pair& pair : kPairs) {
        const std::size_t injected = countOf(record.injected, pair.injected);
        const std::size_t seen = countOf(record.seen, pair.seen);
        if (injected != seen)
            sentences.push_back("Of " + std::to_string(injected) + " " + pair.name + " injected, " +
                                std::to_string(seen) + " were seen.");
    }
}

void lossesOfNotifications(const DemoRecord& record, std::span<const std::string_view> names,
                           std::vector<std::string>& sentences) {
    for (const std::string_view name : names) {
        const auto sent =
            static_cast<std::size_t>(std::count(record.posted.begin(), record.posted.end(), name));
        const std::size_t came = heard(record.seen, name);
        if (came == 0)
            sentences.push_back("The notification " + std::string(name) + " was never heard.");
        else if (came != sent)
            sentences.push_back("Of " + std::to_string(sent) + " notifications " + std::string(name) +
                                " sent, " + std::to_string(came) + " were heard.");
    }
}

} // namespace

std::string formatted(const char* format, ...) {
    char text[200];
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

Spread spreadOf(std::vector<double> values) {
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    return {values.size(),
            std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size()),
            nearestRank(values, 0.5),
            nearestRank(values, 0.95),
            nearestRank(values, 0.99),
            values.back()};
}

bool onScreen(const HandTouch& touch, Size screen) {
    return touch.first.x >= 0 && touch.first.y >= 0 && touch.first.x <= screen.width &&
           touch.first.y <= screen.height;
}

std::size_t touchesOnScreen(const DemoRecord& record) {
    return static_cast<std::size_t>(std::ranges::count_if(
        record.touches, [&](const HandTouch& touch) { return onScreen(touch, record.screen); }));
}

std::vector<double> landingDistances(const DemoRecord& record) {
    std::vector<double> distances;
    const std::vector<Landing> landed = landings(record);
    for (std::size_t i = 0; i < landed.size(); ++i) {
        const HandTouch& touch = record.touches[i];
        if (!onScreen(touch, record.screen) || touch.last != touch.first)
            continue;
        for (const CanvasEvent* const seen : {landed[i].press, landed[i].release})
            if (seen)
                distances.push_back(distance(touch.first, seen->position));
    }
    return distances;
}

std::vector<double> pointerDelays(const std::vector<InjectedEvent>& injected,
                                  const std::vector<CanvasEvent>& seen) {
    std::vector<double> delays;
    auto from = injected.begin();
    for (const CanvasEvent& event : seen) {
        const auto kind = sourceOf(event.kind);
        // Both sides have one order, so an event comes from the first one like it that has not been used.
        const auto source = std::find_if(from, injected.end(), [&](const InjectedEvent& candidate) {
            return candidate.kind == kind && candidate.position == event.position;
        });
        if (!kind || source == injected.end())
            continue;
        from = std::next(source);
        if (source->taken)
            delays.push_back(static_cast<double>((event.time - *source->taken).count()) / 1000);
    }
    return delays;
}

std::size_t countOf(const std::vector<InjectedEvent>& events, InjectedEvent::Kind kind) {
    return static_cast<std::size_t>(std::ranges::count(events, kind, &InjectedEvent::kind));
}

std::size_t countOf(const std::vector<CanvasEvent>& events, CanvasEvent::Kind kind) {
    return static_cast<std::size_t>(std::ranges::count(events, kind, &CanvasEvent::kind));
}

std::size_t heard(const std::vector<CanvasEvent>& events, std::string_view notification) {
    return static_cast<std::size_t>(std::ranges::count_if(events, [&](const CanvasEvent& event) {
        return event.kind == Seen::notification && event.text == notification;
    }));
}

std::vector<std::string> losses(const DemoRecord& record, std::span<const std::string_view> notifications) {
    std::vector<std::string> sentences;
    lossesOfTouches(record, sentences);
    lossesOfEvents(record, sentences);
    lossesOfNotifications(record, notifications, sentences);
    return sentences;
}

} // namespace lightpen
