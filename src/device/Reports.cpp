// SPDX-License-Identifier: MIT
#include "device/Reports.h"

#include <algorithm>
#include <cmath>

namespace lightpen {

namespace {

constexpr std::uint8_t lowByte(std::uint32_t value) {
    return static_cast<std::uint8_t>(value & 0xFF);
}

constexpr std::uint8_t highByte(std::uint32_t value) {
    return static_cast<std::uint8_t>((value >> 8) & 0xFF);
}

std::uint16_t wordAt(std::span<const std::uint8_t> report, std::size_t offset) {
    return static_cast<std::uint16_t>(report[offset] | (report[offset + 1] << 8));
}

void putWord(std::span<std::uint8_t> report, std::size_t offset, std::uint16_t word) {
    report[offset] = lowByte(word);
    report[offset + 1] = highByte(word);
}

} // namespace

ReportBuffer scratchBuffer(int reportSize, int copyLength) {
    constexpr int kLeastRoom = 64;
    return ReportBuffer(static_cast<std::size_t>(std::max({reportSize, copyLength, kLeastRoom})));
}

std::uint16_t truncatedTo16Bits(double value) {
    if (!std::isfinite(value))
        return 0;
    constexpr double kBeyondWords = 2147483648.0;
    if (std::fabs(value) < kBeyondWords)
        return static_cast<std::uint16_t>(static_cast<std::int32_t>(value));
    // fmod is exact, so that a value beyond every integer type wraps as a wide integer would.
    const double wrapped = std::fmod(std::trunc(value), 65536.0);
    return static_cast<std::uint16_t>(static_cast<std::int32_t>(wrapped));
}

void writeSettingsCommand(std::span<std::uint8_t> command, const CameraSettings& settings) {
    const auto bit = [](bool set, int number) { return set ? 1 << number : 0; };
    const int control = bit(settings.imageProcessMode, 0) | bit(settings.imageShrinkTrigger, 1) |
                        bit(!settings.IRFilterGrounded, 2) | bit(settings.maskCalibration, 3) |
                        bit(settings.mask, 4) | bit(settings.brightness, 5) | bit(true, 6) |
                        bit(settings.unitJustAdded, 7);
    command[0] = kSettingsCommand;
    command[1] = static_cast<std::uint8_t>(control);
    command[2] = lowByte(static_cast<std::uint32_t>(settings.threshold));
    command[3] = highByte(static_cast<std::uint32_t>(settings.threshold));
    command[4] = 2;
    command[5] = lowByte(static_cast<std::uint32_t>(settings.forcedExposure));
    command[6] = 0;
}

void writeCalibrationRecord(std::span<std::uint8_t> command, int index, const PointList& points) {
    command[0] = kCalibrationRecordCommand;
    command[1] = static_cast<std::uint8_t>(index);
    if (index > 1)
        return;
    for (std::size_t i = 0; i < 2; ++i) {
        const std::size_t number = static_cast<std::size_t>(index) * 2 + i;
        const CameraPoint point = number < points.size() ? points[number] : CameraPoint{};
        putWord(command, 2 + 4 * i, truncatedTo16Bits(point.x));
        putWord(command, 4 + 4 * i, truncatedTo16Bits(point.y));
    }
}

RecordPoints readRecordPoints(std::span<const std::uint8_t> report) {
    return {wordAt(report, 2), wordAt(report, 4), wordAt(report, 6), wordAt(report, 8)};
}

UnitInformation informationFromNoRecord(std::span<const std::uint8_t> reply) {
    return {.wireless = reply[2],
            .NX9Ver = reply[3],
            .cmosVer = reply[4],
            .GainValue = reply[5],
            .OPmode = reply[6]};
}

UnitInformation informationFromLastRecord(std::span<const std::uint8_t> reply) {
    return {.wireless = reply[7],
            .NX9Ver = reply[8],
            .cmosVer = reply[9],
            .GainValue = reply[3],
            .OPmode = reply[4]};
}

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
