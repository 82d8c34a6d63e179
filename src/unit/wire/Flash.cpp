// SPDX-License-Identifier: MIT
#include "unit/wire/Flash.h"

#include <cmath>

namespace lightpen {

namespace {

std::uint16_t stored(double coordinate) {
    return static_cast<std::uint16_t>(std::lround(coordinate));
}

} // namespace

void Flash::store(CameraPoint topLeft, CameraPoint topRight, CameraPoint bottomLeft,
                  CameraPoint bottomRight) {
    valid_[0] = {stored(topLeft.x), stored(topLeft.y), stored(topRight.x), stored(topRight.y)};
    valid_[1] = {stored(bottomLeft.x), stored(bottomLeft.y), stored(bottomRight.x), stored(bottomRight.y)};
    waiting_ = {};
}

void Flash::erase() {
    valid_ = {};
    waiting_ = {};
}

void Flash::write(unsigned index, const FlashRecord& record, bool together) {
    if (index >= kRecords)
        return;
    if (!together) {
        valid_[index] = record;
        return;
    }
    waiting_[index] = record;
    if (waiting_[0] && waiting_[1]) {
        valid_ = waiting_;
        waiting_ = {};
    }
}

void Flash::forgetWaiting() {
    waiting_ = {};
}

std::optional<FlashRecord> Flash::record(unsigned index) const {
    return index < kRecords ? valid_[index] : std::nullopt;
}

std::optional<std::array<CameraPoint, 4>> Flash::points() const {
    if (!calibrated())
        return std::nullopt;
    const FlashRecord& top = *valid_[0];
    const FlashRecord& bottom = *valid_[1];
    return std::array<CameraPoint, 4>{
        CameraPoint{double(top[0]), double(top[1])}, CameraPoint{double(top[2]), double(top[3])},
        CameraPoint{double(bottom[0]), double(bottom[1])}, CameraPoint{double(bottom[2]), double(bottom[3])}};
}

} // namespace lightpen
