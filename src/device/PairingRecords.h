// SPDX-License-Identifier: MIT
// The pairing table of the wireless pens as bytes: what is sent for each of its records, what comes back, and
// the file that holds it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace lightpen {

inline constexpr int kPairingRecords = 14;
inline constexpr std::size_t kPairingRecordBytes = 8;
// Where a record begins in a report: behind the letter and the index.
inline constexpr std::size_t kPairingRecordOffset = 2;

// The file: the records one after the other, nothing else.
inline constexpr std::string_view kPairingFileName = "NX9_Wireless.bin";
inline constexpr std::size_t kPairingFileLimit = 560; // what is read of it; only the records are sent

// The letter of the commands that store a record, and of their replies. The one of the requests is whoever's
// that asks for the table.
inline constexpr std::uint8_t kStorePairingCommand = 'S';

// byte  0     1       2-9
//       "S"   index   the record
// The command must have at least 10 bytes, zero-filled; the file as many as all records together.
void writePairingRecord(std::span<std::uint8_t> command, int index, std::span<const std::uint8_t> file);

// Whether this is the unit's answer to the request for that record; it must have at least 2 bytes.
bool answersPairingRequest(std::span<const std::uint8_t> reply, std::uint8_t letter, int index);

} // namespace lightpen
