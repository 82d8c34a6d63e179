// SPDX-License-Identifier: MIT
#include "unit/wire/Flash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lightpen {
namespace {

using testing::ElementsAre;

constexpr FlashRecord kFirst{11, 22, 33, 44};
constexpr FlashRecord kSecond{55, 66, 77, 88};

TEST(FlashTest, IsEmptyAtFirst) {
    const Flash flash;
    EXPECT_FALSE(flash.calibrated());
    EXPECT_FALSE(flash.record(0));
    EXPECT_FALSE(flash.record(1));
    EXPECT_FALSE(flash.points());
}

TEST(FlashTest, KeepsACalibrationInRowMajorOrderAsWholeUnits) {
    Flash flash;
    flash.store({10.4, 20.6}, {2500, 30}, {40, 1900}, {2400.5, 1800});
    EXPECT_TRUE(flash.calibrated());
    EXPECT_THAT(*flash.record(0), ElementsAre(10, 21, 2500, 30));
    EXPECT_THAT(*flash.record(1), ElementsAre(40, 1900, 2401, 1800));
    EXPECT_THAT(*flash.points(), ElementsAre(CameraPoint{10, 21}, CameraPoint{2500, 30},
                                             CameraPoint{40, 1900}, CameraPoint{2401, 1800}));
    EXPECT_FALSE(flash.record(2));
}

TEST(FlashTest, RecordsMayComeInAnyOrder) {
    Flash flash;
    flash.write(1, kSecond, true);
    EXPECT_FALSE(flash.calibrated());
    flash.write(0, kFirst, true);
    EXPECT_TRUE(flash.calibrated());
}

TEST(FlashTest, TheOldCalibrationHoldsUntilTheNewOneIsWhole) {
    Flash flash;
    flash.store({1, 2}, {3, 4}, {5, 6}, {7, 8});
    flash.write(0, kFirst, true);
    EXPECT_THAT(*flash.record(0), ElementsAre(1, 2, 3, 4));
    flash.write(1, kSecond, true);
    EXPECT_EQ(kFirst, flash.record(0));
    // The next pair begins anew.
    flash.write(1, kFirst, true);
    EXPECT_EQ(kSecond, flash.record(1));
}

TEST(FlashTest, LaterRecordsAreNotKept) {
    Flash flash;
    flash.write(0, kFirst, true);
    flash.write(2, kSecond, true);
    EXPECT_FALSE(flash.calibrated());
    flash.write(2, kSecond, false);
    EXPECT_FALSE(flash.record(2));
}

TEST(FlashTest, ErasingForgetsWaitingRecordsToo) {
    Flash flash;
    flash.store({1, 2}, {3, 4}, {5, 6}, {7, 8});
    flash.write(0, kFirst, true);
    flash.erase();
    EXPECT_FALSE(flash.record(0));
    flash.write(1, kSecond, true);
    EXPECT_FALSE(flash.calibrated());
}

} // namespace
} // namespace lightpen
