// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/Time.h"

namespace lightpen {

// How a unit behaves, beyond its protocol, where a unit that does otherwise is of use.
struct UnitBehaviour {
    // Sends nothing but its answers during a flash read and for 300 ms after H, K, R and S.
    bool quietAroundCommands = true;
    // The infrared filter is in at power-up; off: out.
    bool filterInAtPowerUp = true;
};

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

// What can be wrong with a unit.
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

} // namespace lightpen
