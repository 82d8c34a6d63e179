// SPDX-License-Identifier: MIT
#include "calibration/KVRCalibrationCenter.h"

#include "kit/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

class KVRCalibrationCenterTest : public SessionFixture {
protected:
    static std::shared_ptr<KVRCalibrationTarget> makeTarget() {
        return std::make_shared<KVRCalibrationTarget>(WindowRect{{7, 9}, {30, 40}}, 1);
    }
};

TEST_F(KVRCalibrationCenterTest, BeginsWithATargetATinkAndNoGrid) {
    KVRCalibrationCenter made(-5, Color{0.5, 0, 0, 1}, 3, Screen{"main", {{0, 0}, {1920, 1080}}});
    EXPECT_EQ(made.mode(), -5);
    EXPECT_EQ(made.backgroundColor(), (Color{0.5, 0, 0, 1}));
    EXPECT_EQ(made.targetBezelStyle(), 3u);
    EXPECT_EQ(made.targetSize(), (Size{20, 20}));
    EXPECT_EQ(made.calibrationTarget()->frame(), (WindowRect{{0, 0}, {20, 20}}));
    EXPECT_TRUE(made.calibrationTarget()->text().isEmpty());
    ASSERT_NE(made.calibrationBeep(), nullptr);
    EXPECT_EQ(made.calibrationBeep()->name(), "Tink");
    EXPECT_EQ(made.totalPoints(), 0);
    EXPECT_EQ(made.calibrationPoints(), nullptr);
    EXPECT_THAT(*made.calibrators(), IsEmpty());
    EXPECT_EQ(window(), nullptr);
    EXPECT_THAT(happened.takeAll(), IsEmpty());
}

TEST_F(KVRCalibrationCenterTest, DefaultCenterIsMadeOnceOnTheFirstScreen) {
    desk.desktop.others = {{"left", {{-1280, 0}, {1280, 720}}}};
    const auto shared = KVRCalibrationCenter::defaultCenter();
    EXPECT_EQ(shared, KVRCalibrationCenter::defaultCenter());
    EXPECT_EQ(shared->mode(), 0);
    EXPECT_EQ(shared->backgroundColor(), kClearColor);
    EXPECT_EQ(shared->targetBezelStyle(), 0u);
    EXPECT_EQ(shared->calibrationScreen()->name, "main");
}

TEST_F(KVRCalibrationCenterTest, NoBackgroundColourIsIgnored) {
    center->setBackgroundColor(kWhiteColor);
    center->setBackgroundColor(std::nullopt);
    EXPECT_EQ(center->backgroundColor(), kWhiteColor);
}

TEST_F(KVRCalibrationCenterTest, TargetsPropertiesAreTheTargets) {
    center->setTargetBackgroundColor(kBlackColor);
    center->setTargetBezelStyle(9);
    center->setTargetSize({64, 48});
    const auto target = center->calibrationTarget();
    EXPECT_EQ(target->backgroundColor(), kBlackColor);
    EXPECT_EQ(center->targetBackgroundColor(), kBlackColor);
    EXPECT_EQ(target->bezelStyle(), 9u);
    EXPECT_EQ(target->frame().size, (Size{64, 48}));
    target->setFrameSize({10, 12});
    EXPECT_EQ(center->targetSize(), (Size{10, 12}));
}

TEST_F(KVRCalibrationCenterTest, AnotherTargetTakesThePlaceOfTheFirst) {
    center->startCalibration();
    const auto first = center->calibrationTarget();
    const auto second = makeTarget();
    center->setCalibrationTarget(second);
    EXPECT_EQ(center->calibrationTarget(), second);
    EXPECT_EQ(center->targetSize(), (Size{30, 40}));
    EXPECT_EQ(center->targetBezelStyle(), 1u);
    EXPECT_EQ(first->parentWidget(), nullptr);
    EXPECT_EQ(second->parentWidget(), &window()->contentView());
    EXPECT_TRUE(second->isVisible());
    center->setCalibrationTarget(second);
    EXPECT_EQ(second->parentWidget(), &window()->contentView());
}

TEST_F(KVRCalibrationCenterTest, WithoutATargetItsPropertiesAreNone) {
    center->setCalibrationTarget(nullptr);
    center->setTargetSize({5, 5});
    center->setTargetBezelStyle(4);
    center->setTargetBackgroundColor(kBlackColor);
    EXPECT_EQ(center->targetSize(), Size());
    EXPECT_EQ(center->targetBezelStyle(), 0u);
    EXPECT_EQ(center->targetBackgroundColor(), std::nullopt);
    // A session goes through all the same.
    start(Kind::manual);
    touchAll();
    EXPECT_EQ(completed.size(), 1u);
}

TEST_F(KVRCalibrationCenterTest, NoScreenIsIgnoredAndAnotherTakesItsPlace) {
    const Screen upright{"projector", {{1920, 0}, {1080, 1920}}};
    center->setCalibrationScreen(upright);
    center->setCalibrationScreen(std::nullopt);
    EXPECT_EQ(center->calibrationScreen(), upright);
    KVRCalibrationCenter blind(0, kClearColor, 0, std::nullopt);
    EXPECT_EQ(blind.calibrationScreen(), std::nullopt);
}

TEST_F(KVRCalibrationCenterTest, ScreenOfTheDesktopHasTheFrameOfNow) {
    desk.desktop.frame = ScreenRect{{0, 0}, {1366, 768}};
    EXPECT_EQ(center->calibrationScreen()->frame.size, (Size{1366, 768}));
    desk.desktop.frame.reset();
    EXPECT_EQ(center->calibrationScreen()->frame.size, (Size{1920, 1080})) << "as it was given";
}

TEST_F(KVRCalibrationCenterTest, BeepsThatAreNoneOrEqualAreIgnored) {
    const SoundRef tink = center->calibrationBeep();
    center->setCalibrationBeep(nullptr);
    center->setCalibrationBeep(desk.sounds.soundNamed("Tink"));
    EXPECT_EQ(center->calibrationBeep(), tink);
    const SoundRef other = desk.sounds.soundNamed("Submarine");
    center->setCalibrationBeep(other);
    EXPECT_EQ(center->calibrationBeep(), other);
}

TEST_F(KVRCalibrationCenterTest, NeverWantsPointerEvents) {
    EXPECT_FALSE(center->shouldGenerateMouseEventAtPoint({100, 200}));
    EXPECT_FALSE(center->shouldGenerateMouseEventAtPoint({-1, -1}));
}

TEST_F(KVRCalibrationCenterTest, CentreThatIsGoneHearsOfNothingAndLeavesTheTargetToItsOwner) {
    center->setTotalPoints(4);
    center->startCalibration();
    touch({100, 100});
    const auto target = center->calibrationTarget();
    const std::weak_ptr<KVRCalibrationCenter> watched = center;
    driver->setDelegate(nullptr);
    center.reset();
    EXPECT_TRUE(watched.expired()) << "a request that waits does not keep it";
    EXPECT_EQ(target->parentWidget(), nullptr);
    EXPECT_EQ(window(), nullptr);
    happened.clear();
    desk.notifications.post({std::string(kCalibrationDidCanceled)});
    desk.runLoop.runFor(kGlide);
    EXPECT_THAT(happened.takeAll(), testing::SizeIs(1));
}

} // namespace
} // namespace lightpen
