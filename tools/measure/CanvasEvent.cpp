// SPDX-License-Identifier: MIT
#include "measure/CanvasEvent.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace lightpen {

namespace {

// In the order of CanvasEvent::Kind.
constexpr std::array<std::string_view, 10> kKindNames = {
    "ready",         "press",        "move",         "release", "right-press",
    "right-release", "context-menu", "notification", "saved",   "failed"};

// Takes the text up to the next space off the line.
std::string_view takeWord(std::string_view& line) {
    const std::size_t end = std::min(line.find(' '), line.size());
    const std::string_view word = line.substr(0, end);
    line.remove_prefix(std::min(end + 1, line.size()));
    return word;
}

std::optional<std::int64_t> takeNumber(std::string_view& line) {
    const std::string_view word = takeWord(line);
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size())
        return std::nullopt;
    return number;
}

std::optional<CanvasEvent::Kind> takeKind(std::string_view& line) {
    const auto* const name = std::find(kKindNames.begin(), kKindNames.end(), takeWord(line));
    if (name == kKindNames.end())
        return std::nullopt;
    return static_cast<CanvasEvent::Kind>(name - kKindNames.begin());
}

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

std::optional<CanvasEvent> canvasEventFromLine(std::string_view line) {
    const auto time = takeNumber(line);
    const auto kind = takeKind(line);
    const auto x = takeNumber(line);
    const auto y = takeNumber(line);
    if (!time || !kind || !x || !y)
        return std::nullopt;
    return CanvasEvent{
        *kind, Microseconds(*time), {static_cast<double>(*x), static_cast<double>(*y)}, std::string(line)};
}

} // namespace lightpen
