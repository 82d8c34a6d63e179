// SPDX-License-Identifier: MIT
#include "unit/wire/PairingTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace lightpen {
namespace {

TEST(PairingTableTest, HasFourteenDistinctRecordsThatReadAsFarOffSpots) {
    const PairingTable table;
    std::set<PairingTable::Record> distinct;
    for (unsigned index = 0; index < 14; ++index) {
        const auto record = table.record(index);
        ASSERT_TRUE(record);
        EXPECT_GE((*record)[0], 0x10);
        EXPECT_LE((*record)[0], 0x7F);
        distinct.insert(*record);
    }
    EXPECT_EQ(14U, distinct.size());
    EXPECT_FALSE(table.record(14));
}

TEST(PairingTableTest, KeepsARecord) {
    PairingTable table;
    const PairingTable::Record record{0x7F, 1, 2, 3, 4, 5, 6, 0xFF};
    EXPECT_TRUE(table.store(13, record, true));
    EXPECT_EQ(record, table.record(13));
    EXPECT_NE(record, table.record(12));
}

TEST(PairingTableTest, RefusesWhatWouldReadAsASpotInRange) {
    PairingTable table;
    const auto before = table.record(3);
    for (const int first : {0x00, 0x0F, 0x80, 0xFF})
        EXPECT_FALSE(table.store(3, {static_cast<std::uint8_t>(first), 1, 2, 3, 4, 5, 6, 7}, true)) << first;
    EXPECT_EQ(before, table.record(3));
    const PairingTable::Record zeros{};
    EXPECT_TRUE(table.store(3, zeros, false));
    EXPECT_EQ(zeros, table.record(3));
}

TEST(PairingTableTest, RefusesAnIndexBeyondTheTable) {
    PairingTable table;
    EXPECT_FALSE(table.store(14, {0x20}, true));
    EXPECT_FALSE(table.store(255, {0x20}, false));
}

} // namespace
} // namespace lightpen
