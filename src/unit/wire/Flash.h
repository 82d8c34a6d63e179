// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "platform/Geometry.h"

namespace lightpen {

// What the unit tells about itself at the end of a flash read.
struct DeviceInformation {
    std::uint8_t NX9Ver = 0x35; // firmware version
    std::uint8_t wireless = 1;  // 0 or 1
    std::uint8_t cmosVer = 0x12;
    std::uint8_t GainValue = 0x08;
    std::uint8_t OPmode = 0; // non-zero asks the host for an acknowledge
};

// Two calibration points as the flash keeps them: x1, y1, x2, y2.
using FlashRecord = std::array<std::uint16_t, 4>;

// The unit's calibration memory: two records of two points each. It survives power-off.
class Flash {
public:
    static constexpr unsigned kRecords = 2;

    // Holds this calibration from now on: camera points in row-major order from the top-left target, each
    // rounded to whole camera units and kept in 16 bits.
    void store(CameraPoint topLeft, CameraPoint topRight, CameraPoint bottomLeft, CameraPoint bottomRight);
    void erase();
    // Takes a record from the host; others than 0 and 1 are not kept. With together set, neither becomes
    // valid before both have come.
    void write(unsigned index, const FlashRecord& record, bool together);
    // Whether both hold the same valid records.
    bool holdsSameAs(const Flash& other) const { return valid_ == other.valid_; }
    // Forgets a record that waits for the other one, as power-off does.
    void forgetWaiting();

    // Whether both records are valid.
    bool calibrated() const { return valid_[0] && valid_[1]; }
    // None when there is no valid record of that index.
    std::optional<FlashRecord> record(unsigned index) const;
    // The four stored points; none when not calibrated.
    std::optional<std::array<CameraPoint, 4>> points() const;

private:
    using Records = std::array<std::optional<FlashRecord>, kRecords>;
    Records valid_;
    Records waiting_;
};

} // namespace lightpen
