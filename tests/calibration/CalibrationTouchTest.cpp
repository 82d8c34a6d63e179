// SPDX-License-Identifier: MIT
// What touches do during a session, from a hand that is not as careful as it might be.
#include "kit/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using std::chrono::microseconds;
using testing::ElementsAre;
using testing::IsEmpty;

class CalibrationTouchTest : public SessionFixture {
protected:
    CalibrationTouchTest() {
        center->setTotalPoints(4);
        center->startCalibration();
        happened.clear();
    }
    std::vector<std::string> deedsOf(const std::function<void()>& action) {
        happened.clear();
        action();
        return happened.takeDeeds();
    }
    void expectRefused(CameraPoint point) {
        const auto before = *center->calibrationPoints();
        happened.clear();
        touch(point);
        EXPECT_THAT(happened.takeAll(), IsEmpty());
        EXPECT_EQ(*center->calibrationPoints(), before);
    }
};

TEST_F(CalibrationTouchTest, FirstTouchIsTakenAtOnceAndTheStepFollowsOnTheMainLoop) {
    happened.clear();
    touch({312, 271.5});
    EXPECT_THAT(*center->calibrationPoints(), ElementsAre(CameraPoint{312, 271.5}));
    EXPECT_EQ(targetOrigin(), (WindowPoint{160, 995}));
    runMainLoop();
    desk.runLoop.runFor(kGlide);
    touch({312, 271});
    EXPECT_TRUE(matchesTranscript("calibration/transcripts/touch_and_repeat"));
}

TEST_F(CalibrationTouchTest, TargetGlidesForEightTenthsOfASecondAndThenBeeps) {
    touch({312, 271});
    runMainLoop();
    happened.clear();
    desk.runLoop.runFor(kGlide / 2);
    EXPECT_NEAR(targetOrigin().x, 950, 35);
    EXPECT_EQ(targetOrigin().y, 995);
    desk.runLoop.runFor(kGlide / 2 - microseconds(1));
    EXPECT_THAT(happened.takeAll(), IsEmpty());
    desk.runLoop.runFor(microseconds(1));
    EXPECT_THAT(happened.takeDeeds(), ElementsAre("play Tink"));
    EXPECT_EQ(targetOrigin(), (WindowPoint{1740, 995}));
}

TEST_F(CalibrationTouchTest, TouchesDuringTheGlideAreDroppedSilentlyAndTakenRightAfterTheBeep) {
    touch({312, 271});
    runMainLoop();
    expectRefused({900, 900});
    desk.runLoop.runFor(kGlide - microseconds(1));
    expectRefused({900, 900});
    desk.runLoop.runFor(microseconds(1));
    touch({900, 900});
    EXPECT_THAT(*center->calibrationPoints(), ElementsAre(CameraPoint{312, 271}, CameraPoint{900, 900}));
}

TEST_F(CalibrationTouchTest, RepeatWithinHalfATargetSoundsAndLeavesTheTargetWhereItIs) {
    touchAndWait({312, 271});
    for (const CameraPoint repeat : {CameraPoint{312, 271}, {321.5, 261.5}, {302.001, 280.999}}) {
        EXPECT_THAT(deedsOf([&] { touch(repeat); }), ElementsAre("play Submarine"));
        EXPECT_THAT(deedsOf([&] { desk.runLoop.runFor(kGlide); }), IsEmpty());
        EXPECT_EQ(targetOrigin(), (WindowPoint{1740, 995}));
    }
    EXPECT_EQ(center->calibrationPoints()->size(), 1u);
    touchAndWait({322, 271});
    EXPECT_EQ(targetOrigin(), (WindowPoint{160, 65})) << "half a target away is another point";
}

TEST_F(CalibrationTouchTest, NearnessIsThatOfTheTargetAsItIsNow) {
    touchAndWait({312, 271});
    center->setTargetSize({200, 10});
    EXPECT_THAT(deedsOf([&] { touch({411, 275}); }), ElementsAre("play Submarine"));
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
    happened.clear();
    desk.runLoop.runFor(kGlide - microseconds(1));
    expectRefused({900, 900});
    desk.runLoop.runFor(microseconds(1));
    EXPECT_THAT(happened.takeDeeds(), ElementsAre("play Tink"));
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
    happened.clear();
    touch({312, 271});
    runMainLoop();
    EXPECT_THAT(happened.takeDeeds(), ElementsAre("play Tink"));
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
    happened.clear();
    touchAndWait({312, 271});
    touchAndWait({312, 271});
    EXPECT_THAT(happened.takeDeeds(), IsEmpty());
    EXPECT_EQ(center->calibrationPoints()->size(), 1u);
    driver->setDelegate(nullptr);
    center.reset();
    Platform::setCurrent(&usual);
}

} // namespace
} // namespace lightpen
