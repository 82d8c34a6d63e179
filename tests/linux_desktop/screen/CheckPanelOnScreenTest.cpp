// SPDX-License-Identifier: MIT
// The check view's panel and the pairing key window in a process of their own, as the X server, the window
// manager and the other programs see them.
#include "kit/linux/ScreenStage.h"

#include <signal.h>

#include <thread>

#include <QMouseEvent>
#include <QTimer>

#include "device/EventGeneratorNX7.h"
#include "device/PanelView.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {
namespace {

// Takes the panel away as soon as it has been clicked.
class ClickCloses final : public QObject {
public:
    explicit ClickCloses(EventGeneratorNX7& driver) : driver_(driver) { qApp->installEventFilter(this); }
    bool eventFilter(QObject* receiver, QEvent* event) override {
        if (event->type() == QEvent::MouseButtonRelease && dynamic_cast<PanelView*>(receiver))
            QTimer::singleShot(0, this, [this] { driver_.Nx9windowrelease(); });
        return false;
    }

private:
    EventGeneratorNX7& driver_;
};

// The program: the check view ("panel"), with the marker of a light that a unit sees ("light"), or the key
// window of a wired unit ("keys"), until it is told to end.
void runProgramUnderTest(LinuxPlatform& platform, const std::string& kind, const std::string&) {
    RunLoop& loop = platform.platform().runLoop;
    EventGeneratorNX7& driver = *new EventGeneratorNX7;
    const ClickCloses clicks(driver);
    if (kind == "panel") {
        driver.Nx9windowChTwoPoint();
    } else {
        EmulatedBus& bus = *new EmulatedBus(platform.registry(), loop, platform.platform().clock);
        bus.runInRealTime();
        CameraUnit& unit = bus.add<CameraUnit>();
        unit.flash()->store({100, 90}, {2000, 90}, {100, 1500}, {2000, 1500});
        unit.information()->wireless = 0;
        if (kind == "light")
            unit.strayLight(CameraPoint{705, 430});
        unit.plug();
        driver.init();
        driver.setDeviceDelegate(nullptr);
    }
    loop.exitProcess(platform.run());
}

class CheckPanelOnScreenTest : public ScreenStage {
protected:
    void SetUp() override { openBackdrop(); }

    // For as long as the panel needs to come to the top some times.
    testing::AssertionResult stays(const std::vector<Place>& places, std::uint32_t colour) {
        for (int look = 0; look < 200; ++look) {
            for (const Place& place : places)
                if (neighbour.pixelAt(place.x, place.y) != colour)
                    return testing::AssertionFailure() << place.x << ", " << place.y << " at look " << look;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return testing::AssertionSuccess();
    }
    const std::vector<Place> kInside{{250, 100}, {749, 100}, {250, 399}, {749, 399}, {400, 300}};
    const std::vector<Place> kBeside{{249, 100}, {750, 399}, {250, 99}, {749, 400}, {20, 300}, {980, 580}};
};

TEST_P(CheckPanelOnScreenTest, CoversTheMiddleAndTakesNothingElse) {
    start("panel");
    EXPECT_TRUE(shows(kInside, kBlack));
    EXPECT_TRUE(shows(kBeside, kBlue));
    EXPECT_TRUE(cursorIs(true));
    EXPECT_TRUE(neighbour.keyboardIsFree());
    neighbour.movePointer(800, 500);
    neighbour.takeClicks();
    neighbour.click();
    EXPECT_TRUE(eventually([&] { return neighbour.takeClicks() == 1; })) << "beside it the desktop is in use";
    EXPECT_TRUE(shows(kInside, kBlack));
}

// The spot is in the middle of the panel: its marker's lower left corner stands at (500, 250).
TEST_P(CheckPanelOnScreenTest, ShowsTheMarker) {
    start("light");
    EXPECT_TRUE(shows({{508, 244}, {504, 241}}, kWhite));
    EXPECT_TRUE(shows({{502, 247}, {504, 239}, {510, 244}}, kBlack));
    EXPECT_TRUE(logs("Event n:256 sptScreenP1: (250.00,150.00)C1(100.00,90.00)C4(2000.00,1500.00)\n"))
        << logged;
}

TEST_P(CheckPanelOnScreenTest, StaysAboveWhateverComesOrRises) {
    start("panel");
    ASSERT_TRUE(shows(kInside, kBlack));
    const auto window = neighbour.openWindow({300, 40, 400, 400, kRed});
    ASSERT_TRUE(eventually([&] { return neighbour.isViewable(window); }));
    const auto free = neighbour.openFreePanel({0, 0, 1000, 590, kRed});
    EXPECT_TRUE(shows(kBeside, kRed));
    EXPECT_TRUE(shows(kInside, kBlack));
    neighbour.close(free);
    EXPECT_TRUE(shows({{310, 90}}, kRed));
    neighbour.raise(window);
    EXPECT_TRUE(shows(kInside, kBlack));
}

TEST_P(CheckPanelOnScreenTest, NeverRisesAboveALocker) {
    const auto locker = neighbour.openFreePanel({0, 0, 1000, 600, kRed});
    start("panel");
    ASSERT_TRUE(logs("Session: the screen is covered\n")) << logged;
    EXPECT_TRUE(stays(kInside, kRed)) << "not even when it is made";
    neighbour.close(locker);
    ASSERT_TRUE(logs("Session: the screen is the user's again\n")) << logged;

    program.reset();
    logged.clear();
    start("panel");
    ASSERT_TRUE(shows(kInside, kBlack));
    neighbour.openFreePanel({0, 0, 1000, 600, kRed});
    EXPECT_TRUE(shows(kInside, kRed));
    ASSERT_TRUE(logs("Session: the screen is covered\n")) << logged;
    EXPECT_TRUE(stays(kInside, kRed));
}

TEST_P(CheckPanelOnScreenTest, AClickIsNoticedAndTheDesktopIsBack) {
    start("panel");
    ASSERT_TRUE(shows(kInside, kBlack));
    neighbour.click();
    EXPECT_TRUE(shows(kInside, kBlue));
    expectTheKeyboardBack();
}

TEST_P(CheckPanelOnScreenTest, AProgramThatIsEndedLeavesNothingBehind) {
    for (const int ending : {SIGTERM, SIGKILL}) {
        SCOPED_TRACE(ending);
        start("panel");
        ASSERT_TRUE(shows(kInside, kBlack));
        program->send(ending);
        EXPECT_EQ(program->wait(), ending == SIGTERM ? 0 : -1);
        EXPECT_TRUE(shows(kInside, kBlue));
        expectTheKeyboardBack();
    }
}

TEST_P(CheckPanelOnScreenTest, CoversTheMiddleWhenPointsAreTwoPixelsWide) {
    start("light", "screen", "2");
    EXPECT_TRUE(shows(kInside, kBlack));
    EXPECT_TRUE(shows(kBeside, kBlue));
    EXPECT_TRUE(logs("Event n:256 sptScreenP1: (125.00,75.00)"));
    EXPECT_TRUE(shows({{516, 238}, {508, 232}}, kWhite));
}

TEST_P(CheckPanelOnScreenTest, TheKeyWindowHearsItsKeysAndIsNotSeen) {
    neighbour.openFreePanel({0, 560, 40, 40, kRed}); // a start menu's corner
    start("keys");
    ASSERT_TRUE(eventually([&] {
        neighbour.pressKey(XNeighbour::kZ);
        logged += log.readAvailable();
        return logged.find("Event n:111 keyCode : (1 , 0 , 0 , 0)\n") != logged.npos;
    })) << logged;
    EXPECT_TRUE(shows({{0, 580}, {19, 580}, {0, 599}, {19, 599}, {10, 590}}, kRed));
    neighbour.movePointer(10, 590);
    neighbour.takeClicks();
    neighbour.click();
    EXPECT_TRUE(eventually([&] { return neighbour.takeClicks() == 1; })) << "it swallows no click";
}

INSTANTIATE_TEST_SUITE_P(On, CheckPanelOnScreenTest, testing::Values(false, true),
                         [](const auto& tested) { return tested.param ? "Managed" : "Unmanaged"; });

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runStage(argc, argv, lightpen::runProgramUnderTest,
                              std::filesystem::path(LIGHTPEN_PROGRAM).parent_path());
}
