// SPDX-License-Identifier: MIT
// A calibration session in a process of its own, as the X server, the window manager and the other programs
// see it.
#include <gtest/gtest.h>
#include <signal.h>

#include <QApplication>
#include <QTimer>

#include "calibration/KVRCalibrationCenter.h"
#include "calibration/KVRCalibrationWindow.h"
#include "kit/Eventually.h"
#include "kit/Pipe.h"
#include "kit/PrivateBus.h"
#include "kit/Xvfb.h"
#include "kit/linux/Framebuffer.h"
#include "kit/linux/WindowManager.h"
#include "kit/linux/XNeighbour.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/QtApplicationSetup.h"

namespace lightpen {
namespace {

constexpr std::uint32_t kBlack = 0x000000, kWhite = 0xFFFFFF, kRed = 0xFF0000, kBlue = 0x0000FF;
constexpr const char* kWholeScreen = "screen";
// Has the program follow a cancelled session by another one.
constexpr int kAgain = SIGUSR1;
volatile sig_atomic_t again = 0;

// The program: a session of this kind on the screen of this name, its log to this descriptor. Ends when it is
// told to.
int runSession(int argc, char** argv) {
    const std::string kind = argv[2], screenName = argv[3];
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    LinuxPlatformSettings settings;
    settings.units = Units::ofTheProgram;
    settings.pointer = PointerChoice::xtest;
    settings.settingsFile = "/dev/null";
    settings.log.diagnostics = std::atoi(argv[4]);          // NOLINT(cert-err34-c): the test's own number
    LinuxPlatform& platform = *new LinuxPlatform(settings); // as in a program that leaves by exitProcess
    Platform::setCurrent(&platform.platform());
    std::optional<Screen> chosen;
    for (const Screen& screen : platform.platform().desktop.screens())
        if (screen.name == screenName)
            chosen = screen;
    const auto center = std::make_shared<KVRCalibrationCenter>(0, kClearColor, 2, chosen);
    center->setTotalPoints(4);
    const auto start = [&] {
        kind == "manual" ? center->startCalibration() : center->startAutoCalibration();
    };
    bool canceled = false;
    platform.platform().notifications.addObserver(&platform, kCalibrationDidCanceled, nullptr,
                                                  [&](const Notification&) { canceled = true; });
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (!canceled || !again)
            return;
        again = canceled = false;
        start();
    });
    ::signal(kAgain, [](int) { again = 1; });
    look.start(20);
    start();
    platform.platform().runLoop.exitProcess(platform.run());
    return 0;
}

struct Place {
    std::int16_t x, y;
};

// A backdrop with the keyboard focus, a panel, the pointer between them; with and without a window manager.
class FullScreenSessionTest : public testing::TestWithParam<bool> {
protected:
    FullScreenSessionTest() {
        neighbour.setRootCursor();
        neighbour.movePointer(kPointer.x, kPointer.y);
    }

    void setUpDesktop() {
        if (managed())
            manager = std::make_unique<WindowManager>(server.display());
        backdrop = neighbour.openWindow({0, 0, 1000, 600, kBlue});
        panel = managed() ? neighbour.openPanel({0, 0, 300, 40, kRed})
                          : neighbour.openFreePanel({0, 0, 300, 40, kRed});
        ASSERT_TRUE(shows({kUnderPanel}, kRed));
        ASSERT_TRUE(shows({{990, 590}}, kBlue));
        neighbour.setFocus(backdrop);
        ASSERT_TRUE(eventually([&] { return neighbour.focus() == backdrop; }));
    }
    static bool managed() { return GetParam(); }

    void startSession(const std::string& kind, const std::string& screen = kWholeScreen,
                      const std::string& scale = "1") {
        session = std::make_unique<ChildProcess>(
            std::vector<std::string>{"/proc/self/exe", "--session", kind, screen,
                                     std::to_string(log.writeEnd())},
            log.writeEnd(),
            std::map<std::string, std::string>{{"DISPLAY", server.display()}, {"QT_SCALE_FACTOR", scale}});
    }
    void addMonitors() {
        const std::map<std::string, std::string> display{{"DISPLAY", server.display()}};
        for (const std::vector<std::string>& monitor :
             {std::vector<std::string>{"*left", "400/106x600/159+0+0", "screen"},
              std::vector<std::string>{"right", "500/132x450/119+400+100", "none"}})
            ASSERT_EQ(runProgram({"xrandr", "--setmonitor", monitor[0], monitor[1], monitor[2]}, display), 0);
    }
    void expectTheRightMonitorCovered() {
        EXPECT_TRUE(shows({{400, 100}, {899, 100}, {400, 549}, {899, 549}, {650, 300}}, kBlack));
        EXPECT_TRUE(shows({{399, 100}, {400, 99}, {900, 100}, {899, 550}, {399, 549}}, kBlue));
        EXPECT_TRUE(shows({kUnderPanel}, kRed));
        EXPECT_TRUE(eventually([&] { return !neighbour.keyboardIsFree(); }));
        EXPECT_TRUE(cursorIs(false));
    }
    testing::AssertionResult shows(const std::vector<Place>& places, std::uint32_t colour) {
        for (const Place& place : places)
            if (!eventually([&] { return neighbour.pixelAt(place.x, place.y) == colour; }))
                return testing::AssertionFailure() << place.x << ", " << place.y << " is " << std::hex
                                                   << neighbour.pixelAt(place.x, place.y);
        return testing::AssertionSuccess();
    }
    // The session is on the screen and has the keyboard.
    void awaitSession(std::uint32_t colour) {
        ASSERT_TRUE(shows(kCorners, colour));
        ASSERT_TRUE(eventually([&] { return !neighbour.keyboardIsFree(); }));
    }
    bool cursorIs(bool shown) {
        return eventually([&] { return framebuffer.cursorAt(kPointer.x, kPointer.y) == shown; });
    }
    bool logs(const std::string& text) {
        return eventually([&] {
            logged += log.readAvailable();
            return logged.find(text) != logged.npos;
        });
    }
    void expectEverythingBack() {
        EXPECT_TRUE(shows({kUnderPanel}, kRed));
        EXPECT_TRUE(shows({{990, 590}, {500, 300}}, kBlue));
        EXPECT_TRUE(cursorIs(true));
        EXPECT_TRUE(eventually([&] { return neighbour.focus() == backdrop; })) << neighbour.focus();
        EXPECT_TRUE(eventually([&] { return neighbour.keyboardIsFree(); }));
        // Again, because a window manager may put the focus on a window of its own for a moment.
        EXPECT_TRUE(eventually([&] {
            neighbour.takeKeys();
            neighbour.pressKey(XNeighbour::kA);
            return neighbour.takeKeys() == 1;
        }));
    }

    static constexpr Place kPointer{640, 333};
    static constexpr Place kUnderPanel{20, 20};
    const std::vector<Place> kCorners{{0, 0}, {999, 0}, {0, 599}, {999, 599}, {500, 300}};

    const Framebuffer framebuffer{1000, 600};
    const Xvfb server{"1000x600", framebuffer.options()};
    XNeighbour neighbour{server.display()};
    std::unique_ptr<WindowManager> manager;
    xcb_window_t backdrop = 0, panel = 0;
    Pipe log;
    std::string logged;
    std::unique_ptr<ChildProcess> session;
};

TEST_P(FullScreenSessionTest, CoversTheScreenAndHidesTheCursor) {
    setUpDesktop();
    EXPECT_TRUE(cursorIs(true));
    startSession("automatic");
    awaitSession(kBlack);
    EXPECT_TRUE(shows({kUnderPanel, {299, 39}, {999, 300}, {500, 599}}, kBlack));
    EXPECT_TRUE(cursorIs(false));
}

TEST_P(FullScreenSessionTest, AManualOneLeavesTheCursor) {
    setUpDesktop();
    startSession("manual");
    awaitSession(kWhite);
    EXPECT_TRUE(cursorIs(true));
}

TEST_P(FullScreenSessionTest, StaysAbovePanelsThatComeOrRise) {
    setUpDesktop();
    startSession("automatic");
    awaitSession(kBlack);
    neighbour.raise(panel);
    const auto late = managed() ? neighbour.openPanel({700, 0, 300, 50, kRed})
                                : neighbour.openFreePanel({700, 0, 300, 50, kRed});
    // What a window manager is asked for is done in order: the panel has been raised by then.
    ASSERT_TRUE(eventually([&] { return neighbour.isViewable(late); }));
    EXPECT_TRUE(shows({kUnderPanel, {900, 25}}, kBlack));
    neighbour.raise(late);
    const auto window = neighbour.openWindow({300, 200, 400, 300, kRed});
    ASSERT_TRUE(eventually([&] { return neighbour.isViewable(window); }));
    EXPECT_TRUE(shows({{900, 25}, {500, 400}}, kBlack));
}

TEST_P(FullScreenSessionTest, HasEveryKeyAndHandsNoneOn) {
    setUpDesktop();
    startSession("manual");
    awaitSession(kWhite);
    neighbour.takeKeys();
    neighbour.pressKey(XNeighbour::kA);
    EXPECT_TRUE(logs("KVRC n:28 keyCode : ")) << logged;
    neighbour.holdKey(XNeighbour::kAlt, true);
    neighbour.pressKey(XNeighbour::kTab); // a window manager's own
    neighbour.holdKey(XNeighbour::kAlt, false);
    neighbour.pressKey(XNeighbour::kEscape);
    EXPECT_TRUE(logs("KVRC n:28 keyCode : 53\n")) << logged;
    EXPECT_EQ(neighbour.takeKeys(), 0);
    expectEverythingBack();
}

TEST_P(FullScreenSessionTest, EscapeGivesEverythingBackAndTheProgramGoesOn) {
    setUpDesktop();
    startSession("automatic");
    awaitSession(kBlack);
    neighbour.pressKey(XNeighbour::kEscape);
    expectEverythingBack();
    session->send(SIGTERM);
    EXPECT_EQ(session->wait(), 0);
}

TEST_P(FullScreenSessionTest, ASecondOneAfterACancelledOneIsLikeTheFirst) {
    setUpDesktop();
    startSession("automatic");
    for (int time = 1; time <= 3; ++time) {
        SCOPED_TRACE(time);
        awaitSession(kBlack);
        EXPECT_TRUE(cursorIs(false));
        neighbour.pressKey(XNeighbour::kEscape);
        expectEverythingBack();
        session->send(kAgain); // like a user who has another go: once the desktop is back
    }
}

TEST_P(FullScreenSessionTest, AProgramThatIsEndedLeavesNothingBehind) {
    setUpDesktop();
    for (const int ending : {SIGTERM, SIGKILL, SIGABRT}) {
        SCOPED_TRACE(ending);
        startSession("automatic");
        awaitSession(kBlack);
        session->send(ending);
        EXPECT_EQ(session->wait(), ending == SIGTERM ? 0 : -1);
        expectEverythingBack();
    }
}

TEST_P(FullScreenSessionTest, WaitsForAnOpenMenuToLetGoOfTheKeyboard) {
    setUpDesktop();
    ASSERT_TRUE(neighbour.grabKeyboard());
    startSession("automatic");
    EXPECT_TRUE(shows(kCorners, kBlack));
    neighbour.ungrabKeyboard();
    awaitSession(kBlack);
    neighbour.pressKey(XNeighbour::kEscape);
    expectEverythingBack();
}

TEST_P(FullScreenSessionTest, CoversTheSecondOfTwoMonitorsAndNothingElse) {
    addMonitors();
    setUpDesktop();
    startSession("automatic", "right");
    expectTheRightMonitorCovered();
    neighbour.pressKey(XNeighbour::kEscape);
    expectEverythingBack();
}

TEST_P(FullScreenSessionTest, CoversAScreenWhosePointsAreTwoPixelsWide) {
    setUpDesktop();
    startSession("automatic", kWholeScreen, "2");
    awaitSession(kBlack);
    neighbour.pressKey(XNeighbour::kEscape);
    expectEverythingBack();
}

TEST_P(FullScreenSessionTest, CoversASecondMonitorWhosePointsAreTwoPixelsWide) {
    addMonitors();
    setUpDesktop();
    startSession("automatic", "right", "2");
    expectTheRightMonitorCovered();
    neighbour.pressKey(XNeighbour::kEscape);
    expectEverythingBack();
}

INSTANTIATE_TEST_SUITE_P(On, FullScreenSessionTest, testing::Values(false, true),
                         [](const auto& tested) { return tested.param ? "Managed" : "Unmanaged"; });

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    const lightpen::NoBus none;
    none.enter();
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    if (argc == 5 && std::string_view(argv[1]) == "--session")
        return lightpen::runSession(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
