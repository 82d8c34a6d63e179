// SPDX-License-Identifier: MIT
// The way from a pen report to pointer events: bytes and values in, values out. Nothing here knows a queue, a
// clock, the screen's owner or the driver.
//
//   report -> readPenReport -> pointInCameraRange -> (the calibration maps) -> penMoves -> actions
//                                  pen up         ------------------------->  penLifts -> actions
//                                  a calibration takes the touches  ------->  penFeeds -> actions
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/Geometry.h"

namespace lightpen {

// The report

// byte  0      1       2        3       4
//       -   X low   X high   Y low   Y high
// A zero X low byte means that no light spot is seen, whatever the other bytes say: the unit's convention.
struct PenReport {
    bool lightSpot = false;
    std::uint16_t x = 0;
    std::uint16_t y = 0;
};

inline constexpr CameraPoint kPenUpPoint{-1, -1};
// A spot that the camera sees beside its range. It is a point off every screen, not an error.
inline constexpr CameraPoint kFarAwayPoint{4294967295.0, 4294967295.0};
inline constexpr int kCameraMaximumX = 2560;
inline constexpr int kCameraMaximumY = 1920;

inline constexpr std::size_t kPenReportBytes = 5;

// Reads a pen report; it must have at least so many bytes.
PenReport readPenReport(std::span<const std::uint8_t> report);
// The point with both coordinates taken as signed: pen up, far away above the range, else as they are (also
// below 0).
CameraPoint pointInCameraRange(const PenReport& report);
// Makes it the report of a pen that is up, as long as it was and never too short to be read.
void writePenUpReport(std::vector<std::uint8_t>& report);

// The screen

// Left and right are looked at first: beyond a corner counts as a side.
enum ScreenRegion : std::int32_t {
    kRegionLeft = 0,
    kRegionRight = 1,
    kRegionTop = 2,
    kRegionBottom = 3,
    kRegionInside = 4
};

// The region of a point on a screen of this size; the edges belong to the screen.
ScreenRegion regionOfPoint(ScreenPoint point, Size screen);

// The stroke

// The driver keeps it as a number; any other value is an error and changes nothing.
enum PenState : std::int32_t { kPenUp = 0, kPenDown = 1, kPenDrag = 2 };

// A stroke may wander this far from its anchor, in points, and still become a right click.
inline constexpr double kLongPressRadius = 10.0;

// The touch that is under way.
struct Stroke {
    std::int32_t state = kPenUp; // PenState
    ScreenPoint previous;        // where a button event was last posted, (0, 0) after pen up
    ScreenPoint anchor;          // where the stroke began, (0, 0) when no long press is pending
    bool pressed = false;        // the stroke has pressed the left button
    friend bool operator==(const Stroke&, const Stroke&) = default;
};

// One thing to do, at a point of the screen.
struct PenAction {
    enum class Kind {
        beginLongPress,  // a right click will follow unless it is cancelled
        press,           // the left button goes down
        leaveAnchor,     // the stroke is `distance` away from its anchor, the point: no right click any more
        stay,            // the stroke is still near its anchor, or has none; nothing to post
        drag,            // the left button is dragged
        release,         // the left button goes up
        cancelLongPress, // no right click will follow the one begun at this point
        leaveScreen,     // the point is in an outer region: tell the desktop
        fail             // the state is none of the three
    };
    Kind kind = Kind::fail;
    ScreenPoint point;
    double distance = 0; // in points, of leaveAnchor
    friend bool operator==(const PenAction&, const PenAction&) = default;
};

// At most two of them, in their order. They are where the list is, so that a step of the pen asks for no
// memory.
class PenActions {
public:
    using value_type = PenAction;
    using const_iterator = const PenAction*;

    PenActions() = default;
    PenActions(const PenAction& only) : actions_{only}, count_(1) {} // NOLINT(google-explicit-constructor)
    PenActions(const PenAction& first, const PenAction& second) : actions_{first, second}, count_(2) {}
    const_iterator begin() const { return actions_.data(); }
    const_iterator end() const { return begin() + count_; }
    std::size_t size() const { return count_; }
    bool empty() const { return count_ == 0; }
    const PenAction& front() const { return actions_.front(); }

private:
    std::array<PenAction, 2> actions_;
    std::size_t count_ = 0;
};

// What a point does: the stroke from now on, and what is to be done, in this order.
struct PenResult {
    Stroke stroke;
    PenActions actions;
    ScreenRegion region = kRegionInside; // of penMoves
    bool touchesTarget = false;          // of penFeeds: the calibration is given the point
};

// The pen is at this mapped point of a screen of this size.
//   state        point                                       actions                       next
//   any          outside                                     leaveScreen                   same
//   any          not a number                                -                             same
//   up           inside                                      beginLongPress, press         down
//   down, drag   further than the radius from its anchor     leaveAnchor, drag             drag
//   down, drag   no anchor ((0, 0)), or within the radius    stay, drag                    drag
//   other        inside                                      fail                          same
PenResult penMoves(const Stroke& stroke, ScreenPoint point, Size screen);

// The pen is up: release where a button event was last posted, and cancelLongPress at the anchor, which stays
// as it is. Nothing when it was up already.
PenResult penLifts(const Stroke& stroke);

// A calibration takes the points. Each touch is given to it once, with the point where it began. A stroke
// that had pressed the button before the calibration began is released and touches no target.
PenResult penFeeds(const Stroke& stroke, CameraPoint point);

} // namespace lightpen
