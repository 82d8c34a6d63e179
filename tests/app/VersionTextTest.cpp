// SPDX-License-Identifier: MIT
#include "app/VersionText.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

TEST(VersionTextTest, AFlagOfOneHasTheBoardAlone) {
    EXPECT_EQ(versionText(1, 0x23, 0x45), "Main Board version 2.3\n");
}

TEST(VersionTextTest, EveryOtherFlagHasBoth) {
    for (const int wireless : {-1, 0, 2, 255})
        EXPECT_EQ(versionText(wireless, 0x23, 0x1F), "Dongle version 2.3\n\n  CMOS version 1.15\n")
            << wireless;
}

TEST(VersionTextTest, TheByteCountsAndNothingAboveIt) {
    EXPECT_EQ(versionText(1, 0, 0), "Main Board version 0.0\n");
    EXPECT_EQ(versionText(1, 0x1F0, 0), "Main Board version 15.0\n");
    EXPECT_EQ(versionText(0, -1, 0xFF), "Dongle version 15.15\n\n  CMOS version 15.15\n");
}

} // namespace
} // namespace lightpen
