// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "platform/Geometry.h"
#include "unit/wire/UnitBehaviour.h"
#include "unit/wire/UnitReport.h"

namespace lightpen {

// When pen reports are sent:
//
//   spot in a picture of the camera        its report
//   no spot, there was one before          a pen-up report, then idle for one second
//   after a command                        idle for one second, from a moment that the command decides
//   else                                   silence
//
// Idle means pen-up reports, fewer than the host's 60 polls a second: it must get some, and empty polls too.
class PenStream {
public:
    static constexpr Microseconds kFrame{8'000};
    static constexpr Microseconds kIdlePeriod{36'000};
    static constexpr Microseconds kIdleTime{1'000'000};

    // Forgets everything.
    void powerUp() { *this = {}; }
    // Ends the touch and the idling without a word.
    void hush();
    // Idles for one second from this moment on; a later command replaces it.
    void idleFrom(Microseconds from);
    // Idles without end from this moment on, instead of the ordinary idling. Without a moment, idles as usual
    // again.
    void idleWithoutEnd(std::optional<Microseconds> from) { endlessFrom_ = from; }
    bool idlesWithoutEnd() const { return endlessFrom_.has_value(); }

    // Says whether the picture that the camera has just taken holds a spot: with one there is no ordinary
    // idling, whether it is reported or not.
    void see(bool spot) { spotInSight_ = spot; }
    // The report that this picture gives rise to, at its full five bytes; none for silence.
    std::optional<UnitReport> frame(Microseconds now, std::optional<CameraPoint> spot,
                                    const UnitBehaviour& behaviour);
    // When the next idle report is due; none while a spot is in sight or nothing is to come.
    std::optional<Microseconds> nextIdle(const UnitBehaviour& behaviour) const;
    // The idle report of this moment.
    UnitReport idle(Microseconds now);

private:
    struct Window {
        Microseconds from;
        Microseconds to;
    };
    std::optional<Microseconds> nextWithin(const std::optional<Window>& window,
                                           const UnitBehaviour& behaviour) const;
    UnitReport sent(UnitReport report);

    bool spotInSight_ = false;
    bool touching_ = false; // a spot has been reported, no pen-up since
    unsigned framesOfTouch_ = 0;
    std::optional<Microseconds> lastSent_;
    std::optional<Window> afterTouch_;
    std::optional<Window> afterCommand_;
    std::optional<Microseconds> endlessFrom_;
};

} // namespace lightpen
