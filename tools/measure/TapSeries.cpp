// SPDX-License-Identifier: MIT
#include "measure/TapSeries.h"

#include <cmath>

#include "measure/Waiting.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// How far, in camera units, what the driver read may be from what the camera sees of a tap. Far more than its
// noise, and far less than from one place to the next.
constexpr double kSamePlace = 25;
constexpr Microseconds kLiftPatience = seconds(4);
// A machine that stands still for as long as a contact misses the whole tap; the hand then taps again.
constexpr int kAttempts = 3;
// How long the X server may take to hear of the last move, over another connection than this program's.
constexpr Microseconds kPointerPatience = milliseconds(300);

std::string atPlace(ScreenPoint place) {
    return "The tap at " + NSStringFromPoint(place);
}

} // namespace

std::string tapAt(const std::vector<ScreenPoint>& places, CameraUnit& unit, Recording& recording,
                  ScreenCapture& eyes, Platform& platform, std::vector<Tap>& taps, Microseconds contact) {
    for (const ScreenPoint& place : places) {
        // Where the machine is held up, the driver still reads the tap before, and lifts the pen in between
        // because a look finds no report.
        const auto lifted = [&] {
            const auto stroke = recording.stroke();
            return unit.toPlay() == Microseconds::zero() && stroke && stroke->lifted &&
                   distance(stroke->reported, unit.seen(place)) < kSamePlace;
        };
        const auto tapped = [&] {
            recording.clearStroke();
            unit.play(Hand().press(place).stay(contact).lift(Microseconds::zero()));
            return waitUntil(platform, lifted, kLiftPatience);
        };
        int attempt = 1;
        while (!tapped())
            if (++attempt > kAttempts)
                return atPlace(place) + " did not become a stroke of the pen.";
        const NotedStroke stroke = *recording.stroke();
        std::optional<ScreenPoint> pointer;
        const auto arrived = [&] {
            pointer = eyes.pointer();
            return pointer == ScreenPoint{std::trunc(stroke.mapped.x), std::trunc(stroke.mapped.y)};
        };
        // Wherever the pointer is after that is where it landed.
        waitUntil(platform, arrived, kPointerPatience);
        if (!pointer)
            return "The X server does not say where the pointer is.";
        taps.push_back({place, stroke.reported, stroke.mapped, *pointer});
    }
    return {};
}

} // namespace lightpen
