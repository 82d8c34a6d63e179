// SPDX-License-Identifier: MIT
#include "calibration/CalibratedScreen.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

// One text: entries of "serial,width,height,turns,x,y,x,y,...", the newest first, each behind the one before
// with a space between them.
constexpr std::string_view kKey = "Calibrated Screens";
constexpr std::size_t kMostEntries = 8;
constexpr std::size_t kFieldsBeforePoints = 4;
// Beyond what any screen has; the settings are a file that anybody may have written.
constexpr double kLargestSide = 100'000;

std::vector<std::string_view> parts(std::string_view text, char separator) {
    std::vector<std::string_view> found;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        found.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return found;
}

std::optional<double> number(std::string_view text) {
    double value = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (problem != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

// Shortest text that reads back to the same value.
void append(std::string& text, double value) {
    std::array<char, 32> digits{};
    const auto [end, problem] = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text += ',';
    text.append(digits.data(), end);
}

// A unit may call itself anything; what separates is none of it.
std::string plain(const std::string& unit) {
    std::string name;
    for (const char letter : unit)
        if (letter > ' ' && letter < 0x7F && letter != ',')
            name += letter;
    return name;
}

// The points as an entry ends with them: ",x,y,x,y".
std::string pointsText(const PointList& points) {
    std::string text;
    for (const CameraPoint point : points) {
        append(text, point.x);
        append(text, point.y);
    }
    return text;
}

struct Entry {
    std::string_view unit;
    CalibratedScreen screen;
    std::string_view points; // as pointsText has them
};

// None for anything that this program would not have written.
std::optional<Entry> entryOf(std::string_view text) {
    const auto fields = parts(text, ',');
    if (fields.size() <= kFieldsBeforePoints)
        return std::nullopt;
    const auto width = number(fields[1]), height = number(fields[2]), turns = number(fields[3]);
    const auto isSide = [](const auto& side) { return side && *side >= 1 && *side <= kLargestSide; };
    if (!isSide(width) || !isSide(height) || !turns || !(*turns >= 0 && *turns <= 3))
        return std::nullopt;
    const char* const end = fields[kFieldsBeforePoints - 1].data() + fields[kFieldsBeforePoints - 1].size();
    return Entry{fields[0],
                 {{*width, *height}, static_cast<int>(*turns)},
                 text.substr(static_cast<std::size_t>(end - text.data()))};
}

std::string storedText() {
    return textForKey(Platform::current().defaults, kKey);
}

// Whether the entry is of these points, or of their first ones.
bool isOf(const Entry& entry, const std::string& unit, const std::string& points) {
    return entry.unit == unit && points.starts_with(entry.points) &&
           (points.size() == entry.points.size() || points[entry.points.size()] == ',');
}

// The rectangle on a screen of this size when the picture has been turned a quarter, counter-clockwise. What
// was at (x, y) is at (height - y, x) then.
ScreenRect turned(const ScreenRect& rect, Size screen) {
    return {{screen.height - rect.origin.y - rect.size.height, rect.origin.x},
            {rect.size.height, rect.size.width}};
}

} // namespace

bool haveOneShape(const CalibratedScreen& one, const CalibratedScreen& other) {
    constexpr double kTolerance = 0.02;
    Size turnedBack = other.size;
    if ((one.quarterTurns - other.quarterTurns) % 2 != 0)
        std::swap(turnedBack.width, turnedBack.height);
    const double across = one.size.width * turnedBack.height, down = one.size.height * turnedBack.width;
    return std::abs(across - down) <= kTolerance * std::max(across, down);
}

void rememberCalibratedScreen(const std::string& unit, const PointList& points,
                              const CalibratedScreen& screen) {
    if (points.empty() || screen.size.width < 1 || screen.size.height < 1)
        return;
    const std::string before = storedText(), name = plain(unit), these = pointsText(points);
    std::string text = name;
    append(text, screen.size.width);
    append(text, screen.size.height);
    append(text, screen.quarterTurns);
    text += these;
    std::size_t kept = 1;
    for (const std::string_view part : parts(before, ' ')) {
        const auto entry = entryOf(part);
        if (!entry || isOf(*entry, name, these) || kept++ >= kMostEntries)
            continue;
        text += ' ';
        text += part;
    }
    if (text != before)
        Platform::current().defaults.setObject(kKey, text);
}

std::optional<CalibratedScreen> calibratedScreen(const std::string& unit, const PointList& points) {
    const std::string stored = storedText(), name = plain(unit), these = pointsText(points);
    for (const std::string_view part : parts(stored, ' '))
        if (const auto entry = entryOf(part); entry && isOf(*entry, name, these))
            return entry->screen;
    return std::nullopt;
}

TargetCell cellOnScreen(const TargetCell& cell, const CalibratedScreen& then, const CalibratedScreen& now) {
    if (then == now)
        return cell;
    ScreenRect part = cell.rectangle;
    Size screen = then.size;
    auto [upperLeft, upperRight, lowerLeft, lowerRight] = cell.points;
    for (int turns = then.quarterTurns; turns % 4 != now.quarterTurns % 4; ++turns) {
        part = turned(part, screen);
        std::swap(screen.width, screen.height);
        const auto before = upperLeft;
        upperLeft = lowerLeft;
        lowerLeft = lowerRight;
        lowerRight = upperRight;
        upperRight = before;
    }
    const auto across = [&](double length) { return length * now.size.width / screen.width; };
    const auto down = [&](double length) { return length * now.size.height / screen.height; };
    return {
        {upperLeft, upperRight, lowerLeft, lowerRight},
        {{across(part.origin.x), down(part.origin.y)}, {across(part.size.width), down(part.size.height)}}};
}

} // namespace lightpen
