// SPDX-License-Identifier: MIT
#include "measure/Injection.h"

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

class InjectionTest : public testing::Test {
protected:
    void post(std::uint32_t eventType, IOGPoint place = {7, 8}) {
        EXPECT_EQ(recorded.IOHIDPostEvent(3, eventType, place, {.click = 1}, 2, 0, 0), kIOReturnSuccess);
    }

    RecordingPointer pointer;
    Recording recording;
    RecordedPointer recorded{pointer, recording};
    std::shared_ptr<KVRCalibrationProtocol> mapping = noted(recording, std::make_shared<Shift>());
};

TEST_F(InjectionTest, KnowsNothingAtFirst) {
    EXPECT_FALSE(recording.stroke());
}

TEST_F(InjectionTest, KeepsTheLastPointOfAStrokeToAllDigits) {
    mapping->mapPointFrom({512, 77});
    EXPECT_EQ(mapping->mapPointFrom({511, -3}), (ScreenPoint{511.12345678901234, -3.0625}));
    const auto stroke = recording.stroke();
    ASSERT_TRUE(stroke);
    EXPECT_EQ(stroke->reported, (CameraPoint{511, -3}));
    EXPECT_EQ(stroke->mapped, (ScreenPoint{511.12345678901234, -3.0625}));
    EXPECT_FALSE(stroke->lifted);
}

TEST_F(InjectionTest, KnowsWhenThePenIsLifted) {
    post(kLeftMouseUp); // of a stroke that was before
    EXPECT_FALSE(recording.stroke());
    mapping->mapPointFrom({5, 6});
    for (const std::uint32_t other : {kLeftMouseDown, kLeftMouseDragged, kRightMouseUp})
        post(other);
    EXPECT_FALSE(recording.stroke()->lifted);
    post(kLeftMouseUp);
    EXPECT_TRUE(recording.stroke()->lifted);
    mapping->mapPointFrom({5, 6});
    EXPECT_FALSE(recording.stroke()->lifted);
    recorded.releaseButtons();
    EXPECT_TRUE(recording.stroke()->lifted);
    recording.clearStroke();
    EXPECT_FALSE(recording.stroke());
}

TEST_F(InjectionTest, HandsEverythingOn) {
    io_connect_t connection = 0;
    EXPECT_EQ(recorded.IOServiceOpen(1, 0, connection), kIOReturnSuccess);
    EXPECT_EQ(connection, pointer.connection);
    post(kLeftMouseDown);
    post(kLeftMouseUp, {9, 8});
    using Posted = RecordingPointer::Posted;
    EXPECT_THAT(pointer.takePosted(), testing::ElementsAre(Posted{kLeftMouseDown, {7, 8}, {.click = 1}},
                                                           Posted{kLeftMouseUp, {9, 8}, {.click = 1}}));
    recorded.releaseButtons();
    EXPECT_EQ(pointer.releases, 1);
}

} // namespace
} // namespace lightpen
