// SPDX-License-Identifier: MIT
// The check view's panel and the pairing key window in a process of their own, as the X server, the window
// manager and the other programs see them.
#include <gtest/gtest.h>
#include <signal.h>

#include <QApplication>
#include <QMouseEvent>
#include <QTimer>

#include "device/EventGeneratorNX7.h"
#include "device/PanelView.h"
#include "kit/Eventually.h"
#include "kit/Pipe.h"
#include "kit/PrivateBus.h"
#include "kit/Xvfb.h"
#include "kit/linux/Framebuffer.h"
#include "kit/linux/WindowManager.h"
#include "kit/linux/XNeighbour.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {
namespace {

constexpr std::uint32_t kBlack = 0x000000, kWhite = 0xFFFFFF, kRed = 0xFF0000, kBlue = 0x0000FF;

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
int runProgramUnderTest(int, char** argv) {
    setUpQtMessages();
    int count = 1;
    const QApplication application(count, argv);
    setUpQtApplication();
    LinuxPlatformSettings settings;
    settings.units = Units::ofTheProgram;
    settings.pointer = PointerChoice::xtest;
    settings.settingsFile = "/dev/null";
    settings.log.diagnostics = std::atoi(argv[3]);          // NOLINT(cert-err34-c): the test's own number
    LinuxPlatform& platform = *new LinuxPlatform(settings); // as in a program that leaves by exitProcess
    Platform::setCurrent(&platform.platform());
    RunLoop& loop = platform.platform().runLoop;
    EventGeneratorNX7& driver = *new EventGeneratorNX7;
    const ClickCloses clicks(driver);
    const std::string_view kind = argv[2];
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
    return 0;
}

struct Place {
    std::int16_t x, y;
};

// A backdrop with the keyboard focus; with and without a window manager.
class CheckPanelOnScreenTest : public testing::TestWithParam<bool> {
protected:
    CheckPanelOnScreenTest() {
        if (GetParam())
            manager = std::make_unique<WindowManager>(server.display());
        neighbour.setRootCursor();
        neighbour.movePointer(kPointer.x, kPointer.y);
        backdrop = neighbour.openWindow({0, 0, 1000, 600, kBlue});
        EXPECT_TRUE(shows({{990, 590}, {1, 599}}, kBlue));
        neighbour.setFocus(backdrop);
        EXPECT_TRUE(eventually([&] { return neighbour.focus() == backdrop; }));
    }

    void start(const std::string& kind, const std::string& scale = "1") {
        program = std::make_unique<ChildProcess>(
            std::vector<std::string>{"/proc/self/exe", "--show", kind, std::to_string(log.writeEnd())},
            log.writeEnd(),
            std::map<std::string, std::string>{{"DISPLAY", server.display()}, {"QT_SCALE_FACTOR", scale}});
    }
    testing::AssertionResult shows(const std::vector<Place>& places, std::uint32_t colour) {
        for (const Place& place : places)
            if (!eventually([&] { return neighbour.pixelAt(place.x, place.y) == colour; }))
                return testing::AssertionFailure() << place.x << ", " << place.y << " is " << std::hex
                                                   << neighbour.pixelAt(place.x, place.y);
        return testing::AssertionSuccess();
    }
    bool logs(const std::string& text) {
        return eventually([&] {
            logged += log.readAvailable();
            return logged.find(text) != logged.npos;
        });
    }
    // A key is heard by the backdrop again, whoever has the focus by name.
    void expectTheKeyboardBack() {
        EXPECT_TRUE(eventually([&] {
            neighbour.takeKeys();
            neighbour.pressKey(XNeighbour::kA);
            return neighbour.takeKeys() == 1;
        }));
        EXPECT_TRUE(neighbour.keyboardIsFree());
    }

    static constexpr Place kPointer{640, 333};
    const std::vector<Place> kInside{{250, 100}, {749, 100}, {250, 399}, {749, 399}, {400, 300}};
    const std::vector<Place> kBeside{{249, 100}, {750, 399}, {250, 99}, {749, 400}, {20, 300}, {980, 580}};

    const Framebuffer framebuffer{1000, 600};
    const Xvfb server{"1000x600", framebuffer.options()};
    XNeighbour neighbour{server.display()};
    std::unique_ptr<WindowManager> manager;
    xcb_window_t backdrop = 0;
    Pipe log;
    std::string logged;
    std::unique_ptr<ChildProcess> program;
};

TEST_P(CheckPanelOnScreenTest, CoversTheMiddleAndTakesNothingElse) {
    start("panel");
    EXPECT_TRUE(shows(kInside, kBlack));
    EXPECT_TRUE(shows(kBeside, kBlue));
    EXPECT_TRUE(eventually([&] { return framebuffer.cursorAt(kPointer.x, kPointer.y); }));
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
    const auto free = neighbour.openFreePanel({0, 0, 1000, 600, kRed});
    EXPECT_TRUE(shows(kBeside, kRed));
    EXPECT_TRUE(shows(kInside, kBlack));
    neighbour.close(free);
    EXPECT_TRUE(shows({{310, 90}}, kRed));
    neighbour.raise(window);
    EXPECT_TRUE(shows(kInside, kBlack));
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
    start("light", "2");
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
    const lightpen::NoBus none;
    none.enter();
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    if (argc == 4 && std::string_view(argv[1]) == "--show")
        return lightpen::runProgramUnderTest(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
