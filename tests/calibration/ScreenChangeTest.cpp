// SPDX-License-Identifier: MIT
// The main screen comes, goes and changes, with a calibration in force and in a session.
#include "kit/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// Where the camera, straight before the picture, sees a place of it. The picture's sides are 1.
CameraPoint wall(double x, double y) {
    return {x * 2560, y * 1920};
}

class ScreenChangeTest : public SessionFixture {
protected:
    // Where the four targets stand on a screen of this size, as the camera sees them.
    static PointList touchesOn(Size screen) {
        const double x = 170 / screen.width, y = 75 / screen.height;
        return {wall(x, y), wall(1 - x, y), wall(x, 1 - y), wall(1 - x, 1 - y)};
    }
    void show(const std::optional<Screen>& main, std::vector<Screen> others = {}) {
        desk.desktop.setMain(main);
        desk.desktop.others = std::move(others);
        desk.notifications.post({std::string(kScreensDidChange)});
    }
    static Screen screen(double width, double height, const char* name = "main", int turns = 0) {
        return {name, {{0, 0}, {width, height}}, turns};
    }
    void calibrateByHand(Size on = {1920, 1080}) {
        start(Kind::manual);
        touchAll(touchesOn(on));
        ASSERT_THAT(completed, SizeIs(1));
        happened.clear();
    }
    void expectMapped(CameraPoint camera, ScreenPoint expected) {
        const ScreenPoint mapped = center->mapPointFrom(camera);
        EXPECT_NEAR(mapped.x, expected.x, 0.01);
        EXPECT_NEAR(mapped.y, expected.y, 0.01);
    }
};

TEST_F(ScreenChangeTest, APlaceOfTheWallIsTheSamePlaceOfThePictureInAnotherMode) {
    calibrateByHand();
    expectMapped(wall(0.25, 0.1), {480, 108});
    show(screen(1280, 800));
    expectMapped(wall(0.25, 0.1), {320, 80});
    expectMapped(wall(1, 1), {1280, 800});
    EXPECT_EQ(
        center->calibrators()->front()->destinationRect(),
        (ScreenRect{{170 * 1280.0 / 1920, 75 * 800.0 / 1080}, {1580 * 1280.0 / 1920, 930 * 800.0 / 1080}}));
    show(screen(1920, 1080));
    EXPECT_EQ(center->calibrators()->front()->destinationRect(), (ScreenRect{{170, 75}, {1580, 930}}));
}

TEST_F(ScreenChangeTest, APictureThatIsTurnedIsStillThatWall) {
    calibrateByHand();
    show(screen(1080, 1920, "main", 1)); // its upper edge is at the wall's left
    expectMapped(wall(0.25, 0.1), {0.9 * 1080, 0.25 * 1920});
    show(screen(1920, 1080, "main", 2));
    expectMapped(wall(0.25, 0.1), {0.75 * 1920, 0.9 * 1080});
    show(screen(1080, 1920, "main", 3));
    expectMapped(wall(0.25, 0.1), {0.1 * 1080, 0.75 * 1920});
}

TEST_F(ScreenChangeTest, TheNewMainScreenIsMappedTo) {
    calibrateByHand();
    // The projector comes and is the main screen from now on.
    show(screen(1024, 768, "projector"), {{"main", {{-1920, 0}, {1920, 1080}}}});
    EXPECT_EQ(center->calibrationScreen()->name, "projector");
    expectMapped(wall(0.5, 0.25), {512, 192});
    show(screen(1920, 1080));
    expectMapped(wall(0.5, 0.25), {960, 270});
}

TEST_F(ScreenChangeTest, IsAsExactAfterAReplugAndARestart) {
    calibrateByHand();
    const PointListRef points = completed.front();
    desk.desktop.setMain(screen(1280, 800));
    center->setCalibrationPoints(points); // as the flash gives them back
    expectMapped(wall(0.25, 0.1), {320, 80});
    center = std::make_shared<KVRCalibrationCenter>(0, kClearColor, 2, desk.desktop.mainScreen());
    center->setCalibrationPoints(points);
    expectMapped(wall(0.25, 0.1), {320, 80});
}

TEST_F(ScreenChangeTest, TouchesThatNobodyRemembersStandForTheScreenOfNow) {
    desk.desktop.setMain(screen(1280, 800));
    center->setCalibrationPoints(std::make_shared<const PointList>(touchesOn({1280, 800})));
    EXPECT_EQ(center->calibrators()->front()->destinationRect(), (ScreenRect{{170, 75}, {940, 650}}));
    show(screen(1920, 1080));
    EXPECT_EQ(center->calibrators()->front()->destinationRect(), (ScreenRect{{170, 75}, {1580, 930}}));
}

TEST_F(ScreenChangeTest, WhatChangesNothingForThePictureMakesNothingAnew) {
    calibrateByHand();
    const auto before = center->calibrators();
    show(screen(1920, 1080), {{"second", {{1920, 0}, {800, 600}}}});
    EXPECT_EQ(center->calibrators(), before);
    EXPECT_THAT(happened.takeAll(), IsEmpty());
}

TEST_F(ScreenChangeTest, WithoutAnyScreenTheLastOneStaysUntilOneComes) {
    calibrateByHand();
    const auto before = center->calibrators();
    show(std::nullopt);
    EXPECT_EQ(center->calibrators(), before);
    show(screen(640, 480, "projector"));
    expectMapped(wall(0.5, 0.25), {320, 120});
}

TEST_F(ScreenChangeTest, ACentreThatBeganWithoutAScreenTakesTheFirst) {
    desk.desktop.setMain(std::nullopt);
    center = std::make_shared<KVRCalibrationCenter>(0, kClearColor, 2, desk.desktop.mainScreen());
    center->setCalibrationPoints(std::make_shared<const PointList>(touchesOn({640, 480})));
    show(screen(640, 480, "projector"));
    expectMapped(wall(0.5, 0.25), {320, 120});
}

TEST_F(ScreenChangeTest, AnotherScreenThatWasSetIsNotTheMainOne) {
    center->setCalibrationScreen(screen(800, 600, "second"));
    show(screen(1280, 800), {{"second", {{1280, 0}, {1024, 768}}}});
    EXPECT_EQ(center->calibrationScreen(), (Screen{"second", {{1280, 0}, {1024, 768}}}));
}

// In a session

TEST_F(ScreenChangeTest, AScreenThatLeavesCancelsItsSession) {
    openUnit();
    store(kFour);
    center->setCalibrationPoints(driver->calibrationPointsFromFlash());
    start(Kind::manual);
    touchAndWait({700, 800});
    happened.clear();
    show(screen(640, 480, "laptop"));
    show(screen(640, 400, "laptop")); // news come in several pieces
    runMainLoop();
    EXPECT_THAT(happened.takeAll(),
                Contains(HasSubstr("Calibration: its screen has left; it ends")).Times(1));
    EXPECT_THAT(canceled, SizeIs(1));
    EXPECT_FALSE(windowIsVisible());
    EXPECT_EQ(driver->delegate(), nullptr);
    EXPECT_THAT(completed, IsEmpty());
    EXPECT_EQ(*center->calibrationPoints(), *driver->calibrationPointsFromFlash());
    EXPECT_EQ(center->calibrators()->front()->destinationRect(), (ScreenRect{{170, 75}, {300, 250}}))
        << "the stored calibration, on the screen that is left";
}

TEST_F(ScreenChangeTest, ASessionWithoutAnyScreenHearsOfNewsToo) {
    show(std::nullopt);
    center = std::make_shared<KVRCalibrationCenter>(0, kClearColor, 2, std::nullopt);
    start(Kind::manual);
    show(std::nullopt);
    runMainLoop();
    EXPECT_THAT(canceled, IsEmpty());
    pressEscape();
    EXPECT_THAT(canceled, SizeIs(1));
}

TEST_F(ScreenChangeTest, AScreenThatChangesCancelsItsSession) {
    for (const Screen& changed : {screen(1280, 800), screen(1920, 1080, "main", 2)}) {
        show(screen(1920, 1080));
        start(Kind::automatic);
        happened.clear();
        show(changed);
        runMainLoop();
        EXPECT_THAT(happened.takeAll(), Contains(HasSubstr("its screen has changed; it ends")).Times(1));
        EXPECT_FALSE(windowIsVisible());
    }
    EXPECT_THAT(canceled, SizeIs(2));
}

TEST_F(ScreenChangeTest, AScreenThatComesWaitsForTheEndOfTheSession) {
    start(Kind::manual);
    touchAndWait(touchesOn({1920, 1080})[0]);
    happened.clear();
    show(screen(1024, 768, "projector"), {{"main", {{-1920, 0}, {1920, 1080}}}});
    runMainLoop();
    EXPECT_THAT(happened.takeAll(), IsEmpty());
    EXPECT_TRUE(windowIsVisible());
    EXPECT_EQ(center->calibrationScreen()->name, "main");
    const PointList touches = touchesOn({1920, 1080});
    touchAll({touches[1], touches[2], touches[3]});
    ASSERT_THAT(completed, SizeIs(1));
    EXPECT_EQ(center->calibrationScreen()->name, "projector");
    expectMapped(wall(0.5, 0.25), {512, 192});
}

// A desktop may give the window another size than it says the screen has.

TEST_F(ScreenChangeTest, TargetsStandWhereTheWindowReallyIs) {
    start(Kind::manual);
    window()->resize(960, 540);
    QCoreApplication::processEvents();
    EXPECT_EQ(targetOrigin(), (WindowPoint{160, 455}));
    const PointList touches = touchesOn({960, 540});
    touchAndWait(touches[0]);
    EXPECT_EQ(targetOrigin(), (WindowPoint{780, 455}));
    touchAll({touches[1], touches[2], touches[3]});
    ASSERT_THAT(completed, SizeIs(1));
    EXPECT_EQ(center->calibrators()->front()->destinationRect(), (ScreenRect{{340, 150}, {1240, 780}}));
    expectMapped(wall(0.25, 0.1), {480, 108});
}

TEST_F(ScreenChangeTest, AWindowThatChangesItsSizeBetweenTouchesCancelsTheSession) {
    start(Kind::manual);
    touchAndWait({700, 800});
    happened.clear();
    window()->resize(960, 540);
    QCoreApplication::processEvents();
    runMainLoop();
    EXPECT_THAT(happened.takeAll(),
                Contains(HasSubstr("Calibration: its window has changed its size; it ends")).Times(1));
    EXPECT_FALSE(windowIsVisible());
    EXPECT_THAT(completed, IsEmpty());
}

TEST_F(ScreenChangeTest, TheNextSessionBeginsWithTheScreensSize) {
    start(Kind::manual);
    window()->resize(960, 540);
    QCoreApplication::processEvents();
    pressEscape();
    start(Kind::manual);
    EXPECT_EQ(targetOrigin(), (WindowPoint{160, 995}));
}

} // namespace
} // namespace lightpen
