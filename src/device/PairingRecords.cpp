// SPDX-License-Identifier: MIT
#include "device/PairingRecords.h"

#include <algorithm>

namespace lightpen {

void writePairingRecord(std::span<std::uint8_t> command, int index, std::span<const std::uint8_t> file) {
    command[0] = kStorePairingCommand;
    command[1] = static_cast<std::uint8_t>(index);
    const auto record =
        file.subspan(static_cast<std::size_t>(index) * kPairingRecordBytes, kPairingRecordBytes);
    std::copy(record.begin(), record.end(), command.subspan(kPairingRecordOffset).begin());
}

bool answersPairingRequest(std::span<const std::uint8_t> reply, std::uint8_t letter, int index) {
    return reply[0] == letter && reply[1] == index;
}

} // namespace lightpen
