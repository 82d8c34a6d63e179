// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/Time.h"
#include "unit/wire/WireHook.h"

namespace lightpen {

// How the flash answers, whatever it holds.
enum class FlashAnswers { asStored, yesYesNo, yesNo };

// Where in an exchange the plug is pulled.
struct UnplugPoint {
    enum class When {
        beforeCommand, // the command fails to be sent
        afterCommand,  // the command was taken, nothing is answered
        beforeReply,   // right before the first report that answers it
        midReply,      // after replyBytes bytes of that report; the host's side fills it up with zeros
        afterReply,    // right after that report
    };
    // Byte 0 of the command (0: settings or erase); none: any command.
    std::optional<std::uint8_t> command = std::nullopt;
    int occurrence = 1; // which of these commands, 1: the next one; the unit counts it down
    When when = When::afterCommand;
    std::size_t replyBytes = 0;
    // Plugged in again after this time; none: stays away.
    std::optional<Microseconds> replugAfter = std::nullopt;
};

// What can be wrong with a unit, beyond missing behaviour.
struct Faults {
    bool silent = false;             // never answers; pen reports still come
    Microseconds extraAnswerDelay{}; // answers come this much later
    FlashAnswers flashAnswers = FlashAnswers::asStored;
    std::optional<std::size_t> sentLength; // every report is cut or zero-filled to this length
    unsigned garbageEvery = 0;             // a random report before each n-th report; 0: none
    std::uint64_t garbageSeed = 1;         // decides the random reports' lengths and bytes
    bool doesNotReadOutput = false;        // output reports stay with the host until it reads again
    std::optional<UnplugPoint> unplug;
};

// The wire of a unit that has faults: bends what crosses it as they say. Not thread-safe; the unit's lock is
// held.
class FaultyWire final : public WireHook {
public:
    Faults faults; // may be set at any time

    Microseconds answerDelay() const override { return faults.extraAnswerDelay; }
    bool answers() const override { return !faults.silent; }
    bool finds(unsigned record) const override;
    std::optional<UnitReport> sends(UnitReport& report) override;
    bool reads() const override { return !faults.doesNotReadOutput; }
    Cut command(std::span<const std::uint8_t> command) override;
    Cut report(UnitReport& report) override;
    std::optional<Microseconds> pulled() override;

private:
    ReportBytes garbage(std::size_t ordinaryLength) const;

    std::uint64_t sentReports_ = 0;
};

} // namespace lightpen
