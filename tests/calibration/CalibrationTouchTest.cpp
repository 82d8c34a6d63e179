// SPDX-License-Identifier: MIT
// What touches do during a session, from a hand that is not as careful as it might be.
#include "kit/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using std::chrono::microseconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSamePoint = "KVR n:928 The Same Point!!";

class CalibrationTouchTest : public SessionFixture {
protected:
    CalibrationTouchTest() {
        center->setTotalPoints(4);
        center->startCalibration();
        takeTimeline();
    }
    std::vector<std::string> timelineOf(const std::function<void()>& action) {
        takeTimeline();
        action();
        return takeTimeline();
    }
    void expectRefused(CameraPoint point) {
        const auto before = *center->calibrationPoints();
        EXPECT_THAT(timelineOf([&] { touch(point); }), IsEmpty());
        EXPECT_EQ(*center->calibrationPoints(), before);
    }
};

TEST_F(CalibrationTouchTest, FirstTouchIsTakenAtOnceAndTheStepFollowsOnTheMainLoop) {
    EXPECT_THAT(timelineOf([&] {
                    touch({312, 271.5});
                }),
                ElementsAre("KVR n:935 lightPenCallbackAtPoint:{312, 271.5}"));
    EXPECT_EQ(targetOrigin(), (WindowPoint{160, 995}));
    EXPECT_THAT(timelineOf([&] { runMainLoop(); }),
                ElementsAre("KVR n:628 calibrationStep : 1", "KVR n:515 targetOriginOfStep {1740, 995}"));
}

TEST_F(CalibrationTouchTest, TargetGlidesForEightTenthsOfASecondAndThenBeeps) {
    touch({312, 271});
    runMainLoop();
    takeTimeline();
    desk.runLoop.runFor(kGlide / 2);
    EXPECT_NEAR(targetOrigin().x, 950, 35);
    EXPECT_EQ(targetOrigin().y, 995);
    desk.runLoop.runFor(kGlide / 2 - microseconds(1));
    EXPECT_THAT(takeTimeline(), IsEmpty());
    desk.runLoop.runFor(microseconds(1));
    EXPECT_THAT(takeTimeline(), ElementsAre("play Tink"));
    EXPECT_EQ(targetOrigin(), (WindowPoint{1740, 995}));
}

TEST_F(CalibrationTouchTest, TouchesDuringTheGlideAreDroppedSilentlyAndTakenRightAfterTheBeep) {
    touch({312, 271});
    runMainLoop();
    expectRefused({900, 900});
    desk.runLoop.runFor(kGlide - microseconds(1));
    expectRefused({900, 900});
    desk.runLoop.runFor(microseconds(1));
    takeTimeline();
    touch({900, 900});
    EXPECT_THAT(takeTimeline(), ElementsAre("KVR n:935 lightPenCallbackAtPoint:{900, 900}"));
}

TEST_F(CalibrationTouchTest, RepeatWithinHalfATargetSoundsAndLeavesTheTargetWhereItIs) {
    touchAndWait({312, 271});
    for (const CameraPoint repeat : {CameraPoint{312, 271}, {321.5, 261.5}, {302.001, 280.999}}) {
        EXPECT_THAT(timelineOf([&] { touch(repeat); }), ElementsAre(kSamePoint, "play Submarine"));
        EXPECT_THAT(timelineOf([&] { desk.runLoop.runFor(kGlide); }), IsEmpty());
        EXPECT_EQ(targetOrigin(), (WindowPoint{1740, 995}));
    }
    EXPECT_EQ(center->calibrationPoints()->size(), 1u);
    touchAndWait({322, 271});
    EXPECT_EQ(targetOrigin(), (WindowPoint{160, 65})) << "half a target away is another point";
}

TEST_F(CalibrationTouchTest, EveryEarlierPointCountsNotTheLastAlone) {
    touchAndWait({312, 271});
    touchAndWait({2201, 188});
    EXPECT_THAT(timelineOf([&] { touch({313, 270}); }), ElementsAre(kSamePoint, "play Submarine"));
}

TEST_F(CalibrationTouchTest, NearnessIsThatOfTheTargetAsItIsNow) {
    touchAndWait({312, 271});
    center->setTargetSize({200, 10});
    EXPECT_THAT(timelineOf([&] { touch({411, 275}); }), ElementsAre(kSamePoint, "play Submarine"));
    touch({411, 277});
    EXPECT_EQ(center->calibrationPoints()->size(), 2u);
}

TEST_F(CalibrationTouchTest, NoPointIsNoTouch) {
    expectRefused({-1, -1});
    expectRefused({-1, 500});
    expectRefused({500, -1});
    touch({-1.5, 0});
    EXPECT_EQ(center->calibrationPoints()->size(), 1u);
}

TEST_F(CalibrationTouchTest, DoubleTouchBeforeTheGlideBeginsCountsOnceWhenItRepeats) {
    touch({312, 271});
    touch({314, 269});
    desk.runLoop.runFor(kGlide);
    EXPECT_EQ(center->calibrationPoints()->size(), 1u);
    EXPECT_EQ(targetOrigin(), (WindowPoint{1740, 995}));
}

// Two touches that the main loop had no time between: the second glide replaces the first, and touches are
// taken at its end, not before.
TEST_F(CalibrationTouchTest, QuickTouchesOnTwoSpotsMoveTheTargetTwoSteps) {
    touch({312, 271});
    touch({2201, 188});
    runMainLoop();
    takeTimeline();
    desk.runLoop.runFor(kGlide - microseconds(1));
    expectRefused({900, 900});
    desk.runLoop.runFor(microseconds(1));
    EXPECT_THAT(takeTimeline(), ElementsAre("play Tink"));
    EXPECT_EQ(targetOrigin(), (WindowPoint{160, 65}));
}

TEST_F(CalibrationTouchTest, NothingIsTakenAfterTheLastPoint) {
    for (const CameraPoint& point : {CameraPoint{312, 271}, {2201, 188}, {164, 1633}})
        touchAndWait(point);
    touch({2390, 1702});
    expectRefused({1000, 1000});
    expectRefused({2390, 1702});
    runMainLoop();
    ASSERT_EQ(completed.size(), 1u);
    expectRefused({1000, 1000});
    EXPECT_EQ(completed.front()->size(), 4u);
    desk.runLoop.runFor(kGlide);
    EXPECT_EQ(completed.size(), 1u);
}

TEST_F(CalibrationTouchTest, AutomaticSessionTakesTouchesAllTheTime) {
    center->startAutoCalibration();
    takeTimeline();
    touch({312, 271});
    runMainLoop();
    EXPECT_THAT(takeTimeline(),
                ElementsAre("KVR n:935 lightPenCallbackAtPoint:{312, 271}", "KVR n:628 calibrationStep : 1",
                            "KVR n:515 targetOriginOfStep {1740, 995}", "play Tink"));
    EXPECT_EQ(targetOrigin(), (WindowPoint{1740, 995})) << "at once";
    touch({2201, 188});
    EXPECT_EQ(center->calibrationPoints()->size(), 2u);
}

TEST_F(CalibrationTouchTest, DesktopWithoutSoundsIsSilentAndNothingElse) {
    class NoSounds final : public Sounds {
        SoundRef soundNamed(std::string_view) override { return nullptr; }
    } none;
    Platform& usual = desk.platform;
    Platform silent{usual.registry,
                    usual.pointer,
                    usual.runLoop,
                    usual.clock,
                    usual.threads,
                    usual.notifications,
                    usual.distributedNotifications,
                    usual.desktop,
                    usual.defaults,
                    usual.systemUI,
                    none,
                    usual.dataFiles,
                    usual.shell};
    Platform::setCurrent(&silent);
    center = std::make_shared<KVRCalibrationCenter>(0, kClearColor, 0, Screen{"main", {{0, 0}, {640, 480}}});
    EXPECT_EQ(center->calibrationBeep(), nullptr);
    center->setTotalPoints(4);
    center->startCalibration();
    takeTimeline();
    touchAndWait({312, 271});
    touchAndWait({312, 271});
    EXPECT_EQ(takeTimeline().back(), kSamePoint);
    EXPECT_EQ(center->calibrationPoints()->size(), 1u);
    driver->setDelegate(nullptr);
    center.reset();
    Platform::setCurrent(&usual);
}

} // namespace
} // namespace lightpen
