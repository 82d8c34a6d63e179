// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <deque>
#include <optional>
#include <span>

#include "unit/wire/Eye.h"
#include "unit/wire/Flash.h"
#include "unit/wire/PairingTable.h"
#include "unit/wire/PenStream.h"
#include "unit/wire/UnitBehaviour.h"
#include "unit/wire/UnitReport.h"
#include "unit/wire/Vision.h"
#include "unit/wire/WireHook.h"

namespace lightpen {

// The settings that a host has sent last.
struct ReceivedSettings {
    bool imageProcessMode = false;
    bool imageShrinkTrigger = false;
    bool filterOut = false;
    bool maskCalibration = false;
    bool mask = false;
    bool brightness = false;
    bool freshUnit = false; // bit 7: the host has just found the unit
    int threshold = 0;
    int exposure = 0;
};

// The unit's firmware: output reports and pictures of the camera in, input reports out. It has no clock and
// no thread; time is what its caller says, and never goes back. Not thread-safe.
//
// Output reports, of 7 to 255 bytes, missing ones being 0; all others are ignored:
//
//   00 00 00 ...                  erase the flash
//   00 bits tlo thi 02 exp 00     settings, when bit 6 of bits is set
//   'C' i  x1 y1 x2 y2            keep calibration record i (16 bits each, low byte first)
//   'H' i                         -> 'Y' i x1 y1 x2 y2, for i = 2 the device information; or 'N'
//   'K'                           -> 's' 0 0 ..., twelve times, when there is stray light
//   'R' i                         -> 'R' i and the 8 bytes of pairing record i
//   'S' i  8 bytes                -> 'S' i; keep pairing record i
//   'W' 'W', 'T'                  acknowledges
class Firmware {
public:
    static constexpr Microseconds kAnswerDelay{5'000};
    static constexpr Microseconds kQuietTime{300'000};

    // Every report it sends has this length. The eye is asked once for each picture that the camera takes.
    // Eye and hook outlive the firmware, and are not asked before it gets power.
    Firmware(std::size_t reportLength, Eye& eye, WireHook& hook, DeviceInformation information = {});

    // The unit gets power: everything starts anew but flash and pairing table.
    void powerUp(Microseconds now);
    // Takes an output report (without its report ID).
    void handleOutput(std::span<const std::uint8_t> report, Microseconds now);
    // The next report that is sent up to now, each one once, in order of time; none when there are no more.
    std::optional<UnitReport> next(Microseconds now);
    // The earliest time at which the unit does something, if nothing happens to it before.
    Microseconds nextEvent() const;

    const ReceivedSettings& settings() const { return settings_; }               // as the host sent them last
    bool imageMode() const { return imageMode_; }                                // pictures are being sent
    int operatingModeAcknowledges() const { return operatingModeAcknowledges_; } // how many "W" "W" have come
    int wirelessAcknowledges() const { return wirelessAcknowledges_; }           // how many "T" have come

    // What a script may set at any time.
    Flash flash;
    PairingTable pairingTable;
    DeviceInformation information;
    UnitBehaviour behaviour;

private:
    // Something that is due later.
    struct Task {
        enum class What { send, testLight, takePicture };
        What what = What::send;
        UnitReport report; // its time is when the task is due
    };
    // The front of a command, filled up with zeros.
    using Command = std::array<std::uint8_t, 16>;

    bool dispatch(const Command& command, bool allZero, Microseconds now);
    void applySettings(const Command& command, Microseconds now);
    void tellEye();
    void applyImageMode(bool wanted, Microseconds now);
    void keepCalibration(const Command& command);
    void answerRead(unsigned index, Microseconds now);
    ReportBytes storedRecord(unsigned index) const;
    void answerPairingRecord(unsigned index, Microseconds now);
    void keepPairingRecord(const Command& command, Microseconds now);

    void schedule(Task task);
    void answer(ReportBytes bytes, std::uint8_t command, Microseconds now);
    void beQuiet(Microseconds until);
    bool quiet(Microseconds now) const;
    void endImageMode();

    std::optional<Microseconds> nextIdle() const;
    void perform(const Task& task);
    void lookAtFrame(Microseconds now);
    void emit(UnitReport report);

    const std::size_t reportLength_;
    Eye& eye_;
    WireHook& hook_;
    ReceivedSettings settings_;
    Vision vision_;
    PenStream stream_;
    std::deque<Task> tasks_;       // in order of time
    std::deque<UnitReport> ready_; // sent, not yet fetched
    Microseconds nextFrame_{};
    Microseconds quietUntil_{Microseconds::min()};
    Microseconds lastQuietCommand_{Microseconds::min()};
    bool readUnderWay_ = false;
    bool imageMode_ = false;
    int operatingModeAcknowledges_ = 0;
    int wirelessAcknowledges_ = 0;
};

} // namespace lightpen
