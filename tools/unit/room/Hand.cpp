// SPDX-License-Identifier: MIT
#include "unit/room/Hand.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "unit/room/LetterFont.h"

namespace lightpen {

namespace {

// A hand rests a moment where a stroke begins and ends; two polls of the host, so that it sees both.
constexpr Microseconds kRest{36'000};

ScreenPoint beside(Hand::Side side, Size screen, double distance) {
    switch (side) {
    case Hand::Side::left:
        return {-distance, screen.height / 2};
    case Hand::Side::right:
        return {screen.width + distance, screen.height / 2};
    case Hand::Side::above:
        return {screen.width / 2, -distance};
    case Hand::Side::below:
        break;
    }
    return {screen.width / 2, screen.height + distance};
}

} // namespace

Hand& Hand::press(ScreenPoint point) {
    lift(Microseconds::zero());
    pressed_ = true;
    touch_ = {end_, end_, point, point};
    return *this;
}

void Hand::addLeg(Microseconds duration, ScreenPoint to) {
    if (pressed_ && duration > Microseconds::zero())
        legs_.push_back({end_, end_ + duration, touch_.last, to});
    touch_.last = to;
    end_ += std::max(duration, Microseconds::zero());
}

Hand& Hand::moveTo(ScreenPoint point, double speed) {
    const double distance = std::hypot(point.x - touch_.last.x, point.y - touch_.last.y);
    const double seconds = speed > 0 ? distance / speed : 0;
    addLeg(Microseconds(std::llround(seconds * 1e6)), point);
    return *this;
}

Hand& Hand::stay(Microseconds duration) {
    addLeg(duration, touch_.last);
    return *this;
}

Hand& Hand::lift(Microseconds pause) {
    if (std::exchange(pressed_, false)) {
        touch_.end = end_;
        touches_.push_back(touch_);
    }
    end_ += pause;
    return *this;
}

Hand& Hand::wait(Microseconds duration) {
    return lift(duration);
}

Hand& Hand::tap(ScreenPoint point, Microseconds contact) {
    return press(point).stay(contact).lift();
}

Hand& Hand::drag(const std::vector<ScreenPoint>& path, double speed) {
    if (path.empty())
        return *this;
    press(path.front());
    for (const ScreenPoint& point : path)
        moveTo(point, speed);
    return lift();
}

Hand& Hand::touchBeside(Side side, Size screen, double distance, Microseconds contact) {
    return tap(beside(side, screen, distance), contact);
}

Hand& Hand::write(std::string_view text, ScreenPoint topLeft, double height, double speed) {
    double left = topLeft.x;
    for (const char letter : text) {
        const Glyph glyph = glyphOf(letter);
        for (const GlyphStroke& stroke : glyph.strokes) {
            const auto onScreen = [&](GlyphPoint point) {
                return ScreenPoint{left + point.x * height, topLeft.y + point.y * height};
            };
            press(onScreen(stroke.front())).stay(kRest);
            for (const GlyphPoint& point : stroke)
                moveTo(onScreen(point), speed);
            stay(kRest).lift();
        }
        left += glyph.advance * height;
    }
    return *this;
}

std::optional<ScreenPoint> Hand::at(Microseconds time) const {
    const auto after = std::upper_bound(legs_.begin(), legs_.end(), time,
                                        [](Microseconds when, const Leg& leg) { return when < leg.start; });
    if (after == legs_.begin() || time >= std::prev(after)->end)
        return std::nullopt;
    const Leg& leg = *std::prev(after);
    const double part =
        static_cast<double>((time - leg.start).count()) / static_cast<double>((leg.end - leg.start).count());
    return ScreenPoint{leg.from.x + part * (leg.to.x - leg.from.x),
                       leg.from.y + part * (leg.to.y - leg.from.y)};
}

} // namespace lightpen
