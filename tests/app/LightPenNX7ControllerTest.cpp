// SPDX-License-Identifier: MIT
#include "app/LightPenNX7Controller.h"

#include <algorithm>
#include <thread>

#include "app/ControllerFixture.h"
#include "device/ChTwoPoint.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const PointList kFour{{312, 271}, {2201, 188}, {164, 1633}, {2390, 1702}};
const PointList kStored{{400, 300}, {2100, 300}, {300, 1500}, {2200, 1600}};

class LightPenNX7ControllerTest : public ControllerFixture {
protected:
    LightPenNX7ControllerTest() {
        openUnit();
        store(kStored);
        wantDebugWindow();
        start();
    }

    void touchAll() {
        for (const CameraPoint& point : kFour) {
            session()->lightPenCallbackAtPoint(point, *driver);
            desk.runLoop.runFor(kGlide);
        }
    }
};

TEST_F(LightPenNX7ControllerTest, UnitThatIsThereAtTheStartIsMappedWithItsCalibration) {
    EXPECT_TRUE(controller->deviceConnected());
    const auto used = std::dynamic_pointer_cast<KVRCalibrationCenter>(driver->calibrationCenter());
    ASSERT_NE(used, nullptr);
    EXPECT_EQ(*used->calibrationPoints(), kStored);
    EXPECT_EQ(used->mode(), 0);
    EXPECT_EQ(used->targetBezelStyle(), 2u);
    EXPECT_EQ(used->backgroundColor(), kClearColor);
    EXPECT_EQ(used->calibrationScreen()->name, "main");
}

TEST_F(LightPenNX7ControllerTest, CalibrationIsManualUnlessTheUserWantsOtherwise) {
    controller->calibration("the menu");
    EXPECT_THAT(happened.takeDeeds(), ElementsAre("mode 3 options 76"));
    ASSERT_NE(session(), nullptr);
    EXPECT_EQ(session()->totalPoints(), 4);
    const auto target = session()->calibrationTarget();
    EXPECT_EQ(target->frame(), (WindowRect{{138, 973}, {64, 64}}));
    EXPECT_EQ(target->iconSize(), QSize(64, 64));
    EXPECT_FALSE(target->isBordered());
    EXPECT_TRUE(windowIsVisible());
}

TEST_F(LightPenNX7ControllerTest, CalibrationIsAutomaticWhenTheDefaultSaysSo) {
    desk.defaults.set["Auto Calibration"] = std::int64_t{1};
    controller->calibration("x");
    EXPECT_THAT(happened.takeDeeds(), Not(Contains("hide cursor 1")));
    desk.defaults.set["Auto Calibration"] = true;
    controller->calibration("x");
    EXPECT_THAT(happened.takeDeeds(),
                ElementsAre("hide cursor 1", "mode 3 options 76", "filter out", "activate"));
    ASSERT_NE(session(), nullptr);
    EXPECT_EQ(session()->targetSize(), (Size{48, 32})) << "its picture's";
}

TEST_F(LightPenNX7ControllerTest, CompletionInItsOrder) {
    annotation = [this] { return session() ? ", delegate" : ""; };
    controller->calibration("x");
    happened.clear();
    desk.clock.takeSleeps();
    const auto used = session();
    driver->setCalibrationCenter(nullptr);
    touchAll();
    EXPECT_TRUE(matchesTranscript("app/transcripts/completion"));
    EXPECT_EQ(desk.clock.takeSleeps().back(), milliseconds(500));
    EXPECT_EQ(driver->delegate(), nullptr);
    EXPECT_EQ(driver->calibrationCenter(), used);
    EXPECT_EQ(*driver->calibrationPointsFromFlash(), kFour);
    EXPECT_EQ(*used->calibrationPoints(), kFour);
    EXPECT_EQ(used->calibrators()->size(), 1u);
}

TEST_F(LightPenNX7ControllerTest, OnlyAWirelessUnitsTableIsReadAndOnlyAfterThePause) {
    const auto asUnit = unit.onSetReport;
    for (const std::uint8_t wireless : {std::uint8_t{0}, std::uint8_t{1}, std::uint8_t{255}}) {
        SCOPED_TRACE(int{wireless});
        unit.onSetReport = asUnit;
        openUnit({.wireless = wireless});
        std::vector<Microseconds> pauses; // before the table is asked for
        unit.onSetReport = [&](const SentReport& report) {
            if (report.bytes.at(0) != 'R')
                return kIOReturnSuccess;
            pauses.push_back(desk.clock.takeSleeps().back());
            return kIOReturnNoDevice; // the first request ends the exchange
        };
        completed.clear();
        controller->calibration("x");
        touchAll();
        EXPECT_EQ(completed.size(), 1u);
        if (wireless == 0)
            EXPECT_THAT(pauses, ElementsAre(milliseconds(500)));
        else
            EXPECT_THAT(pauses, IsEmpty());
    }
}

TEST_F(LightPenNX7ControllerTest, CompletionWithoutPointsIsNoneAtAll) {
    controller->calibrationDidComplete({std::string(kCalibrationCompleted)});
    EXPECT_TRUE(matchesTranscript("app/transcripts/completion_without_points"));
    EXPECT_EQ(*driver->calibrationPointsFromFlash(), kStored);
}

TEST_F(LightPenNX7ControllerTest, UnitThatLeavesCancelsTheSessionByEscapesWay) {
    controller->calibration("x");
    const auto used = session();
    used->lightPenCallbackAtPoint(kFour[0], *driver);
    desk.runLoop.runFor(kGlide / 2);
    happened.clear();
    controller->deviceDidRemoveCallback(*driver);
    EXPECT_FALSE(controller->deviceConnected());
    EXPECT_THAT(canceled, IsEmpty());
    runMainLoop();
    EXPECT_TRUE(matchesTranscript("app/transcripts/removal_in_a_session"));
    EXPECT_FALSE(windowIsVisible());
    EXPECT_EQ(driver->delegate(), nullptr);
    EXPECT_EQ(desk.systemUI.mode, kUIModeNormal);
    EXPECT_EQ(*used->calibrationPoints(), kStored);
    EXPECT_EQ(canceled.size(), 1u);
}

TEST_F(LightPenNX7ControllerTest, PictureThatComesBackIsTheOneThatIsDrawnAlready) {
    const auto shown = [this] { return controller->statusItem()->image().cacheKey(); };
    const auto connected = shown();
    controller->deviceDidRemoveCallback(*driver);
    EXPECT_NE(shown(), connected);
    controller->deviceDidAddCallback(*driver);
    EXPECT_EQ(shown(), connected);
}

TEST_F(LightPenNX7ControllerTest, UnitThatLeavesMayBeReportedOnThePointThread) {
    desk.defaults.set["Auto Calibration"] = true;
    controller->calibration("x");
    std::thread([this] { controller->deviceDidRemoveCallback(*driver); }).join();
    EXPECT_TRUE(windowIsVisible());
    runMainLoop();
    EXPECT_FALSE(windowIsVisible());
    EXPECT_THAT(happened.takeDeeds(), Contains("show cursor 1"));
}

TEST_F(LightPenNX7ControllerTest, TheMenuOfARemovalOnThePointThreadFollowsOnTheMainThread) {
    controllerState.menuMode = MenuMode::full;
    std::vector<std::string> lines;
    std::thread([&] {
        controller->deviceDidRemoveCallback(*driver);
        lines = log.takeLines();
    }).join();
    EXPECT_THAT(lines, testing::SizeIs(2)) << "its beginning and its end";
    EXPECT_FALSE(controller->deviceConnected());
    EXPECT_EQ(controllerState.menuMode.load(), MenuMode::exitOnly);
    EXPECT_EQ(textOf("faeTextField"), "25");
    EXPECT_THAT(itemsOf(menu()), Contains("Calibration"));
    runMainLoop();
    EXPECT_THAT(itemsOf(menu()), ElementsAre("Exit"));
    EXPECT_EQ(textOf("thresholdsTextField"), "-1");
    EXPECT_EQ(textOf("faeTextField"), "-1");
}

TEST_F(LightPenNX7ControllerTest, AUnitThatArrivesBeforeTheMainThreadGetsThereStaysShown) {
    std::thread([this] { controller->deviceDidRemoveCallback(*driver); }).join();
    controller->statMenu(*driver);
    controller->deviceDidAddCallback(*driver);
    runMainLoop();
    EXPECT_THAT(itemsOf(menu()), Contains("Calibration"));
    EXPECT_EQ(textOf("faeTextField"), "25");
}

TEST_F(LightPenNX7ControllerTest, AControllerThatIsGoneByThenIsLeftAlone) {
    std::thread([this] { controller->deviceDidRemoveCallback(*driver); }).join();
    driver->setDeviceDelegate(nullptr);
    controller.reset();
    log.clear();
    runMainLoop();
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(LightPenNX7ControllerTest, ArrivalReadsTheUnitBeforeItsMenu) {
    controller->deviceDidRemoveCallback(*driver);
    driver->setDeviceDelegate(nullptr);
    openUnit({.wireless = 2, .NX9Ver = 0xA5});
    EXPECT_TRUE(controller->respondsTo(EventGeneratorNX7DeviceCallbackProtocol::Operation::statMenu));
    controller->statMenu(*driver);
    EXPECT_EQ(controllerState.cmosVersion, 0x12);
    EXPECT_FALSE(controller->deviceConnected());
    controller->deviceDidAddCallback(*driver);
    EXPECT_TRUE(controller->deviceConnected());
    EXPECT_TRUE(matchesTranscript("app/transcripts/arrival"));
}

TEST_F(LightPenNX7ControllerTest, TheKeyWindowTakesTheKeyboardWhenTheMenuOpens) {
    // The key windows that are shown once the menu has opened.
    const auto shownByTheMenu = [this] {
        for (ChTwoPoint* window : topWindows<ChTwoPoint>())
            window->hide();
        openMenu();
        auto windows = topWindows<ChTwoPoint>();
        std::erase_if(windows, [](const ChTwoPoint* window) { return !window->isVisible(); });
        return windows;
    };
    EXPECT_THAT(shownByTheMenu(), IsEmpty()) << "a wireless unit has none";
    openUnit({.wireless = 0});
    const auto first = shownByTheMenu();
    EXPECT_EQ(first.size(), 1U);
    for (const std::uint8_t wireless : {std::uint8_t{1}, std::uint8_t{255}}) {
        openUnit({.wireless = wireless});
        EXPECT_THAT(shownByTheMenu(), IsEmpty()) << int{wireless};
    }
    openUnit({.wireless = 0});
    const auto second = shownByTheMenu();
    EXPECT_EQ(second.size(), 1U);
    EXPECT_NE(second, first) << "the newest";
}

TEST_F(LightPenNX7ControllerTest, AnotherUnitThatArrivesCancelsTheSession) {
    controller->calibration("x");
    controller->deviceDidAddCallback(*driver);
    runMainLoop();
    EXPECT_FALSE(windowIsVisible());
    EXPECT_EQ(driver->delegate(), nullptr);
    EXPECT_TRUE(controller->deviceConnected());
}

TEST_F(LightPenNX7ControllerTest, UnitsThatComeAndGoOutsideASessionCancelNothing) {
    controller->deviceDidRemoveCallback(*driver);
    controller->deviceDidAddCallback(*driver);
    controller->noiseDetectedCallback(*driver);
    runMainLoop();
    EXPECT_THAT(canceled, IsEmpty());
    EXPECT_TRUE(controller->deviceConnected());
}

TEST_F(LightPenNX7ControllerTest, SecondSessionAfterBothEnds) {
    controller->calibration("x");
    window()->keyDown(53);
    controller->calibration("x");
    touchAll();
    controller->calibration("x");
    touchAll();
    EXPECT_EQ(completed.size(), 2u);
    EXPECT_EQ(desk.systemUI.mode, kUIModeNormal);
}

} // namespace
} // namespace lightpen
