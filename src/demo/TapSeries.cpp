// SPDX-License-Identifier: MIT
#include "demo/TapSeries.h"

#include <cmath>

#include "demo/Waiting.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr Microseconds kContact = milliseconds(60);
// Until the last report of a tap has been read; the next tap must not be taken for it.
constexpr Microseconds kReadPause = milliseconds(50);
constexpr Microseconds kLiftPatience = seconds(5);
// How long the X server may take to hear of the last move, over another connection than this program's.
constexpr Microseconds kPointerPatience = milliseconds(300);

std::string atPlace(ScreenPoint place) {
    return "The tap at " + NSStringFromPoint(place);
}

} // namespace

std::string tapAt(const std::vector<ScreenPoint>& places, CameraUnit& unit, MappingRecord& record,
                  ScreenCapture& eyes, Platform& platform, std::vector<Tap>& taps) {
    for (const ScreenPoint& place : places) {
        record.clear();
        unit.play(Hand().press(place).stay(kContact).lift(kReadPause));
        // On a machine that is held up, a look of the driver finds no report and lifts the pen too early.
        const auto lifted = [&] {
            const auto stroke = record.stroke();
            return unit.toPlay() == Microseconds::zero() && stroke && stroke->lifted;
        };
        if (!waitUntil(platform, lifted, kLiftPatience))
            return atPlace(place) + " did not become a stroke of the pen.";
        const MappingRecord::Stroke stroke = *record.stroke();
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
