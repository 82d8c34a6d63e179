// SPDX-License-Identifier: MIT
#include "device/Reports.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

// Integers out of doubles

TEST(ReportsTest, DoublesAreTruncatedTowardZeroAndThenTo16Bits) {
    const std::pair<double, int> cases[] = {{0, 0},
                                            {100.9, 100},
                                            {-0.9, 0},
                                            {-1.5, 0xFFFF},
                                            {32767.99, 32767},
                                            {40000, 40000},
                                            {65535.5, 0xFFFF},
                                            {65536, 0},
                                            {65537.5, 1},
                                            {-40000, 65536 - 40000},
                                            {-65537, 0xFFFF},
                                            {4294967295.0, 0xFFFF},
                                            {1e15 + 3, (1'000'000'000'000'003LL) & 0xFFFF},
                                            {-1e300, 0},
                                            {std::numeric_limits<double>::denorm_min(), 0}};
    for (const auto& [value, word] : cases)
        EXPECT_EQ(truncatedTo16Bits(value), word) << value;
}

TEST(ReportsTest, WhatIsNoNumberBecomesZero) {
    using Limits = std::numeric_limits<double>;
    for (const double value : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()})
        EXPECT_EQ(truncatedTo16Bits(value), 0);
}

} // namespace
} // namespace lightpen
