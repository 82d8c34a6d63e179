// SPDX-License-Identifier: MIT
#include "measure/CanvasEvent.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <string_view>

namespace lightpen {

namespace {

// In the order of CanvasEvent::Kind.
constexpr std::array<std::string_view, 10> kKindNames = {
    "ready",         "press",        "move",         "release", "right-press",
    "right-release", "context-menu", "notification", "saved",   "failed"};

} // namespace

std::string lineFromCanvasEvent(const CanvasEvent& event) {
    std::string line = std::to_string(event.time.count());
    line += ' ';
    line += kKindNames.at(static_cast<std::size_t>(event.kind));
    line += ' ' + std::to_string(std::llround(event.position.x));
    line += ' ' + std::to_string(std::llround(event.position.y));
    if (!event.text.empty())
        line += ' ' + event.text;
    return line;
}

std::optional<CanvasEvent> canvasEventFromLine(const std::string& line) {
    std::istringstream words(line);
    std::int64_t time = 0, x = 0, y = 0;
    std::string name, text;
    words >> time >> name >> x >> y;
    const auto* const kind = std::ranges::find(kKindNames, name);
    if (!words || kind == kKindNames.end())
        return std::nullopt;
    // The text, if there is one, comes behind a space.
    if (std::getline(words, text) && !text.starts_with(' '))
        return std::nullopt;
    return CanvasEvent{static_cast<CanvasEvent::Kind>(kind - kKindNames.begin()),
                       Microseconds(time),
                       {static_cast<double>(x), static_cast<double>(y)},
                       text.substr(std::min<std::size_t>(1, text.size()))};
}

} // namespace lightpen
