// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace lightpen {

// The table that ties wireless pens to the unit's receiver. It survives power-off.
class PairingTable {
public:
    static constexpr unsigned kRecords = 14;
    static constexpr std::size_t kRecordBytes = 8;
    using Record = std::array<std::uint8_t, kRecordBytes>;

    // A table as it leaves the factory; no two of its records are equal.
    PairingTable();

    bool operator==(const PairingTable&) const = default;
    // None for an index beyond the table.
    std::optional<Record> record(unsigned index) const;
    // Stores a record; returns false and keeps the old one for an index beyond the table and, with
    // farOffOnly, for a record that does not begin with 0x10..0x7F: its reply would read as a spot in range.
    bool store(unsigned index, const Record& record, bool farOffOnly);

private:
    std::array<Record, kRecords> records_{};
};

} // namespace lightpen
