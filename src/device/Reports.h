// SPDX-License-Identifier: MIT
// The unit's reports as bytes: what the driver sends and what it reads. Values in, bytes out and back;
// nothing here knows a queue, a clock or the driver. Multi-byte values are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "device/PointList.h"

namespace lightpen {

// The first byte of a report says what it is.
inline constexpr std::uint8_t kSettingsCommand = 0x00; // all zero: erase the flash
inline constexpr std::uint8_t kCalibrationRecordCommand = 'C';
inline constexpr std::uint8_t kReadRecordCommand = 'H';
inline constexpr std::uint8_t kOperatingModeCommand = 'W'; // twice
inline constexpr std::uint8_t kWirelessCommand = 'T';
inline constexpr std::uint8_t kLightTestCommand = 'K';
inline constexpr std::uint8_t kStoredRecordReply = 'Y';
inline constexpr std::uint8_t kNoRecordReply = 'N';
inline constexpr std::uint8_t kStrayLightReply = 's';

using ReportBuffer = std::vector<std::uint8_t>;

// A zero-filled buffer for a command of `reportSize` bytes, with room for the `copyLength` bytes that are
// copied out of it and never fewer than 64, so that neither a tiny nor a truncated report size leaves the
// buffer.
ReportBuffer scratchBuffer(int reportSize, int copyLength);

// A coordinate as the unit stores it: truncated toward zero, then to 16 bits. 0 for what is not a number.
std::uint16_t truncatedTo16Bits(double value);

// Output reports: settings

// What a settings command says; threshold is cut to 16 bits, exposure to 8.
struct CameraSettings {
    bool imageProcessMode = false;
    bool imageShrinkTrigger = false;
    bool IRFilterGrounded = false;
    bool maskCalibration = false;
    bool mask = false;
    bool brightness = false;
    bool unitJustAdded = false;
    std::int32_t threshold = 0;
    std::int32_t forcedExposure = 0;
};

// byte  0    1         2           3            4    5          6
//       00   control   threshold   threshold    02   exposure   00
//                      low byte    high byte
// The command must have at least 7 bytes, zero-filled.
void writeSettingsCommand(std::span<std::uint8_t> command, const CameraSettings& settings);

// Output and input reports: flash records

// The two points of one record, as the unit stores them.
struct RecordPoints {
    std::uint16_t x1 = 0;
    std::uint16_t y1 = 0;
    std::uint16_t x2 = 0;
    std::uint16_t y2 = 0;
};

// byte  0     1       2-3   4-5   6-7   8-9
//       "C"   index   x1    y1    x2    y2
// Only records 0 and 1 carry points, 2i and 2i + 1 of the list; the unit keeps no others. A missing point is
// (0, 0).
void writeCalibrationRecord(std::span<std::uint8_t> command, int index, const PointList& points);
// The points of a "C" command or of a "Y" reply; it must have at least 10 bytes.
RecordPoints readRecordPoints(std::span<const std::uint8_t> report);

// What a unit tells of itself, 0 to 255 each: versions as two half-bytes; wireless 0 for units with a pairing
// table; an OPmode other than 0 wants an acknowledgement.
struct UnitInformation {
    int wireless = 0;
    int NX9Ver = 0;
    int cmosVer = 0;
    int GainValue = 0;
    int OPmode = 0;
};

// From an "N" reply; it must have at least 10 bytes.
UnitInformation informationFromNoRecord(std::span<const std::uint8_t> reply);
// From the "Y" reply to record 2; it must have at least 10 bytes.
UnitInformation informationFromLastRecord(std::span<const std::uint8_t> reply);

// Output and input reports: the pairing table of the wireless pens

inline constexpr int kPairingRecords = 14;
inline constexpr std::size_t kPairingRecordBytes = 8;
// A record begins behind the letter and the index.
inline constexpr std::size_t kPairingRecordOffset = 2;

// The file holds the records one after the other and nothing else.
inline constexpr std::string_view kPairingFileName = "NX9_Wireless.bin";
inline constexpr std::size_t kPairingFileLimit = 560; // bytes that are read; only the records are sent

// The letter of the commands that store a record and of the replies to them. The letter of the requests for a
// record is chosen by the caller of Nx9commd.
inline constexpr std::uint8_t kStorePairingCommand = 'S';

// byte  0     1       2-9
//       "S"   index   the record
// The command must have at least 10 bytes, zero-filled; the file as many as all records together.
void writePairingRecord(std::span<std::uint8_t> command, int index, std::span<const std::uint8_t> file);

// Whether this is the unit's answer to the request for that record; it must have at least 2 bytes.
bool answersPairingRequest(std::span<const std::uint8_t> reply, std::uint8_t letter, int index);

} // namespace lightpen
