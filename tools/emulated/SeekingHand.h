// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

#include "emulated/ScreenCapture.h"
#include "emulated/TargetSeeker.h"
#include "platform/Time.h"
#include "unit/room/Hand.h"

namespace lightpen {

// An emulated hand that plays a calibration: it touches each target that it sees. It looks at pixels and
// knows neither where targets stand nor how many there are. One thread.
class SeekingHand {
public:
    // Has the emulated hand play this.
    using Play = std::function<void(const Hand&)>;
    using Seen = std::function<void(const ScreenPicture&)>;

    static constexpr std::chrono::milliseconds kLookPeriod{30}; // between two looks
    static constexpr Microseconds kDwell{120'000};              // how long it touches

    // Eyes and clock outlive this object.
    SeekingHand(Play play, ScreenCapture& eyes, Clock& clock, Microseconds dwell = kDwell)
        : play_(std::move(play)), eyes_(eyes), clock_(clock), dwell_(dwell) {}

    // Looks once, and touches a target that has come to rest. Calls seen with each picture that shows one.
    void look(const Seen& seen = {});
    // Whatever comes next is another session.
    void forget();
    // How often it has touched the screen.
    int touches() const { return touches_; }

private:
    const Play play_;
    ScreenCapture& eyes_;
    Clock& clock_;
    const Microseconds dwell_;
    TargetSeeker seeker_;
    std::optional<ScreenPoint> seen_;
    int touches_ = 0;
};

} // namespace lightpen
