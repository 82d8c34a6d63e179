// SPDX-License-Identifier: MIT
#include "unit/wire/PairingTable.h"

namespace lightpen {

namespace {

constexpr std::uint8_t kLowestFirstByte = 0x10;
constexpr std::uint8_t kHighestFirstByte = 0x7F;

} // namespace

PairingTable::PairingTable() {
    for (unsigned index = 0; index < kRecords; ++index) {
        Record& record = records_[index];
        record[0] = static_cast<std::uint8_t>(kLowestFirstByte + index);
        for (unsigned byte = 1; byte < kRecordBytes; ++byte)
            record[byte] = static_cast<std::uint8_t>(0xA0 + index * 5 + byte * 17);
    }
}

std::optional<PairingTable::Record> PairingTable::record(unsigned index) const {
    if (index >= kRecords)
        return std::nullopt;
    return records_[index];
}

bool PairingTable::store(unsigned index, const Record& record, bool farOffOnly) {
    const bool farOff = record[0] >= kLowestFirstByte && record[0] <= kHighestFirstByte;
    if (index >= kRecords || (farOffOnly && !farOff))
        return false;
    records_[index] = record;
    return true;
}

} // namespace lightpen
