// SPDX-License-Identifier: MIT
#include "measure/MappingRecord.h"

#include <gmock/gmock.h>

#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

// Takes the pen to be where its camera point is, shifted by a fraction.
struct Shift final : KVRCalibrationProtocol {
    ScreenPoint mapPointFrom(CameraPoint point) override {
        return {point.x + 0.12345678901234, point.y - 0.0625};
    }
};

class MappingRecordTest : public testing::Test {
protected:
    void post(std::uint32_t eventType, IOGPoint place = {7, 8}) {
        EXPECT_EQ(record.IOHIDPostEvent(3, eventType, place, {.click = 1}, 2, 0, 0), kIOReturnSuccess);
    }

    RecordingPointer pointer;
    MappingRecord record{pointer};
    std::shared_ptr<KVRCalibrationProtocol> mapping = record.noted(std::make_shared<Shift>());
};

TEST_F(MappingRecordTest, KnowsNothingAtFirst) {
    EXPECT_FALSE(record.stroke());
}

TEST_F(MappingRecordTest, KeepsTheLastPointOfAStrokeToAllDigits) {
    mapping->mapPointFrom({512, 77});
    EXPECT_EQ(mapping->mapPointFrom({511, -3}), (ScreenPoint{511.12345678901234, -3.0625}));
    const auto stroke = record.stroke();
    ASSERT_TRUE(stroke);
    EXPECT_EQ(stroke->reported, (CameraPoint{511, -3}));
    EXPECT_EQ(stroke->mapped, (ScreenPoint{511.12345678901234, -3.0625}));
    EXPECT_FALSE(stroke->lifted);
}

TEST_F(MappingRecordTest, KnowsWhenThePenIsLifted) {
    post(kLeftMouseUp); // of a stroke that was before
    EXPECT_FALSE(record.stroke());
    mapping->mapPointFrom({5, 6});
    for (const std::uint32_t other : {kLeftMouseDown, kLeftMouseDragged, kRightMouseUp})
        post(other);
    EXPECT_FALSE(record.stroke()->lifted);
    post(kLeftMouseUp);
    EXPECT_TRUE(record.stroke()->lifted);
    mapping->mapPointFrom({5, 6});
    EXPECT_FALSE(record.stroke()->lifted);
    record.releaseButtons();
    EXPECT_TRUE(record.stroke()->lifted);
    record.clear();
    EXPECT_FALSE(record.stroke());
}

TEST_F(MappingRecordTest, HandsEverythingOn) {
    io_connect_t connection = 0;
    EXPECT_EQ(record.IOServiceOpen(1, 0, connection), kIOReturnSuccess);
    EXPECT_EQ(connection, pointer.connection);
    post(kLeftMouseDown);
    post(kLeftMouseUp, {9, 8});
    using Posted = RecordingPointer::Posted;
    EXPECT_THAT(pointer.takePosted(), testing::ElementsAre(Posted{kLeftMouseDown, {7, 8}, {.click = 1}},
                                                           Posted{kLeftMouseUp, {9, 8}, {.click = 1}}));
    record.releaseButtons();
    EXPECT_EQ(pointer.releases, 1);
}

} // namespace
} // namespace lightpen
