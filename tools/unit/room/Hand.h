// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "platform/Geometry.h"
#include "platform/Time.h"

namespace lightpen {

// A script of touches in screen points over time, counted from its start. Gestures follow each other in the
// order in which they are added; each is one touch (write: several) with a pause behind it that is long
// enough for the host to see the pen lifted.
//
//   Hand().tap({200, 120}).wait(1s).drag({{10, 10}, {300, 40}}, 500).hold({640, 400}, 2500ms);
class Hand {
public:
    // Of the screen, as one looks at it.
    enum class Side { left, right, above, below };
    // One contact of the pen.
    struct Touch {
        Microseconds start{};
        Microseconds end{};
        ScreenPoint first;
        ScreenPoint last;
    };
    static constexpr Microseconds kTap{80'000};
    static constexpr Microseconds kPause{200'000};

    // Gestures
    Hand& wait(Microseconds duration);
    Hand& tap(ScreenPoint point, Microseconds contact = kTap);
    // A contact of this length; the host takes two seconds for a right click.
    Hand& hold(ScreenPoint point, Microseconds duration) { return tap(point, duration); }
    // Along the points in order, in screen points a second; an empty path does nothing.
    Hand& drag(const std::vector<ScreenPoint>& path, double speed);
    // Touches beside a screen of this size, in the middle of the side, this far from its edge.
    Hand& touchBeside(Side side, Size screen, double distance = 60, Microseconds contact = kTap);
    // Writes in single strokes; the letters' capitals reach from the top left point down over the height.
    // A character that the hand has not learnt leaves a gap. See LetterFont.
    Hand& write(std::string_view text, ScreenPoint topLeft, double height, double speed = 900);

    // What gestures are made of: press, then any moves and stays, then lift.
    Hand& press(ScreenPoint point);
    // Moves on at a speed in screen points a second; at once when the speed is not positive.
    Hand& moveTo(ScreenPoint point, double speed);
    Hand& stay(Microseconds duration);
    Hand& lift(Microseconds pause = kPause);

    // Where the pen touches at this time; none while it is lifted, before the start and after the end.
    std::optional<ScreenPoint> at(Microseconds time) const;
    // To the end of the last pause.
    Microseconds duration() const { return end_; }
    // The contacts that have been ended with lift, in order.
    const std::vector<Touch>& touches() const { return touches_; }

private:
    // From one place to another, within [start, end).
    struct Leg {
        Microseconds start;
        Microseconds end;
        ScreenPoint from;
        ScreenPoint to;
    };
    void addLeg(Microseconds duration, ScreenPoint to);

    std::vector<Leg> legs_;
    std::vector<Touch> touches_;
    Microseconds end_{};
    bool pressed_ = false;
    Touch touch_;
};

} // namespace lightpen
