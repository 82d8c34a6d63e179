// SPDX-License-Identifier: MIT
// A calibration session in a process of its own, as the X server, the window manager and the other programs
// see it.
#include "kit/linux/ScreenStage.h"

#include <signal.h>

#include <QTimer>

#include "calibration/KVRCalibrationCenter.h"
#include "calibration/KVRCalibrationWindow.h"
#include "measure/desktop/XWindows.h"

namespace lightpen {
namespace {

// Has the program follow a cancelled session by another one.
constexpr int kAgain = SIGUSR1;
volatile sig_atomic_t again = 0;
// Has the session go to its next target, as a touch does.
constexpr int kNext = SIGUSR2;
volatile sig_atomic_t next = 0;

// The program: a session of this kind on the screen of this name. Ends when it is told to.
void runSession(LinuxPlatform& platform, const std::string& kind, const std::string& screenName) {
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
        if (next) {
            next = 0;
            center->nextTarget();
        }
        if (!canceled || !again)
            return;
        again = canceled = false;
        start();
    });
    ::signal(kAgain, [](int) { again = 1; });
    ::signal(kNext, [](int) { next = 1; });
    look.start(20);
    start();
    platform.platform().runLoop.exitProcess(platform.run());
}

// A backdrop with the keyboard focus, a panel, the pointer between them; with and without a window manager.
class FullScreenSessionTest : public ScreenStage {
protected:
    void SetUp() override {
        openBackdrop();
        panel = openPanel({0, 0, 300, 40, kRed});
        ASSERT_TRUE(shows({kUnderPanel}, kRed));
    }
    xcb_window_t openPanel(const NeighbourWindow& place) {
        return managed() ? neighbour.openPanel(place) : neighbour.openFreePanel(place);
    }
    // The session is on the screen and has the keyboard.
    void awaitSession(std::uint32_t colour) {
        ASSERT_TRUE(shows(kCorners, colour));
        ASSERT_TRUE(eventually([&] { return !neighbour.keyboardIsFree(); }));
    }
    void startSession(const std::string& kind = "automatic", std::uint32_t colour = kBlack) {
        start(kind);
        awaitSession(colour);
    }
    void escapeGivesEverythingBack() {
        neighbour.pressKey(XNeighbour::kEscape);
        expectEverythingBack();
    }
    void expectEverythingBack() {
        EXPECT_TRUE(shows({kUnderPanel}, kRed));
        EXPECT_TRUE(shows({{990, 590}, {500, 300}}, kBlue));
        EXPECT_TRUE(cursorIs(true));
        EXPECT_TRUE(eventually([&] { return neighbour.focus() == backdrop; })) << neighbour.focus();
        expectTheKeyboardBack();
    }

    static constexpr Place kUnderPanel{20, 20};
    const std::vector<Place> kCorners{{0, 0}, {999, 0}, {0, 599}, {999, 599}, {500, 300}};
    xcb_window_t panel = 0;
};

class TwoMonitorsSessionTest : public FullScreenSessionTest {
protected:
    void SetUp() override {
        const std::map<std::string, std::string> display{{"DISPLAY", server.display()}};
        for (const std::vector<std::string>& monitor :
             {std::vector<std::string>{"*left", "400/106x600/159+0+0", "screen"},
              std::vector<std::string>{"right", "500/132x450/119+400+100", "none"}})
            ASSERT_EQ(runProgram({"xrandr", "--setmonitor", monitor[0], monitor[1], monitor[2]}, display), 0);
        FullScreenSessionTest::SetUp();
    }
    void expectTheRightMonitorCovered() {
        EXPECT_TRUE(shows({{400, 100}, {899, 100}, {400, 549}, {899, 549}, {650, 300}}, kBlack));
        EXPECT_TRUE(shows({{399, 100}, {400, 99}, {900, 100}, {899, 550}, {399, 549}}, kBlue));
        EXPECT_TRUE(shows({kUnderPanel}, kRed));
        EXPECT_TRUE(eventually([&] { return !neighbour.keyboardIsFree(); }));
        EXPECT_TRUE(cursorIs(false));
    }
};

// A window manager that knows nothing of full-screen windows, and gives the session's another place or size.
class MisplacedSessionTest : public FullScreenSessionTest {
protected:
    void begin() {
        startSession("manual", kWhite);
        const auto windows = XWindows(server.display()).shown(static_cast<std::uint32_t>(program->pid()));
        ASSERT_EQ(windows.size(), 1U);
        window = windows.front().id;
    }
    // What is shown where a session on the whole screen has its first target.
    std::vector<std::uint32_t> target() {
        std::vector<std::uint32_t> pixels;
        for (std::int16_t y = 75 - 20; y < 75 + 20; ++y)
            for (std::int16_t x = 170 - 20; x < 170 + 20; ++x)
                pixels.push_back(neighbour.pixelAt(x, y));
        return pixels;
    }

    xcb_window_t window = 0;
};

TEST_P(MisplacedSessionTest, HasItsTargetsOnTheScreenAllTheSame) {
    ASSERT_NO_FATAL_FAILURE(begin());
    const auto before = target();
    ASSERT_NE(before, std::vector(before.size(), kWhite));
    neighbour.move(window, -30, 20);
    EXPECT_TRUE(eventually([&] { return target() == before; }));
    EXPECT_TRUE(shows({{960, 300}, {10, 30}, {10, 599}}, kWhite));
    EXPECT_TRUE(shows({{980, 300}}, kBlue));
    neighbour.move(window, 0, 0);
    neighbour.resize(window, 1000, 540);
    EXPECT_TRUE(shows({{500, 599}}, kBlue));
    EXPECT_TRUE(eventually([&] { return target() == before; }));
    program->send(kNext);
    EXPECT_TRUE(logs("KVR n:515 targetOriginOfStep")) << logged;
    EXPECT_EQ(logged.find("it ends"), logged.npos);
}

TEST_P(MisplacedSessionTest, EndsWhereTheNextTargetWouldNotBeSeen) {
    ASSERT_NO_FATAL_FAILURE(begin());
    neighbour.resize(window, 700, 600);
    ASSERT_TRUE(shows({{750, 300}}, kBlue));
    program->send(kNext);
    EXPECT_TRUE(logs("Calibration: its window does not show the whole screen; it ends\n")) << logged;
    expectEverythingBack();
}

TEST_P(FullScreenSessionTest, CoversTheScreenAndHidesTheCursor) {
    EXPECT_TRUE(cursorIs(true));
    startSession();
    EXPECT_TRUE(shows({kUnderPanel, {299, 39}, {999, 300}, {500, 599}}, kBlack));
    EXPECT_TRUE(cursorIs(false));
}

TEST_P(FullScreenSessionTest, AManualOneLeavesTheCursor) {
    startSession("manual", kWhite);
    EXPECT_TRUE(cursorIs(true));
}

TEST_P(FullScreenSessionTest, StaysAbovePanelsThatComeOrRise) {
    startSession();
    neighbour.raise(panel);
    const auto late = openPanel({700, 0, 300, 50, kRed});
    // What a window manager is asked for is done in order: the panel has been raised by then.
    ASSERT_TRUE(eventually([&] { return neighbour.isViewable(late); }));
    EXPECT_TRUE(shows({kUnderPanel, {900, 25}}, kBlack));
    neighbour.raise(late);
    const auto window = neighbour.openWindow({300, 200, 400, 300, kRed});
    ASSERT_TRUE(eventually([&] { return neighbour.isViewable(window); }));
    EXPECT_TRUE(shows({{900, 25}, {500, 400}}, kBlack));
}

TEST_P(FullScreenSessionTest, HasEveryKeyAndHandsNoneOn) {
    startSession("manual", kWhite);
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
    startSession();
    escapeGivesEverythingBack();
    program->send(SIGTERM);
    EXPECT_EQ(program->wait(), 0);
}

TEST_P(FullScreenSessionTest, ASecondOneAfterACancelledOneIsLikeTheFirst) {
    start("automatic");
    for (int time = 1; time <= 3; ++time) {
        SCOPED_TRACE(time);
        awaitSession(kBlack);
        EXPECT_TRUE(cursorIs(false));
        escapeGivesEverythingBack();
        program->send(kAgain); // like a user who has another go: once the desktop is back
    }
}

TEST_P(FullScreenSessionTest, AProgramThatIsEndedLeavesNothingBehind) {
    for (const int ending : {SIGTERM, SIGKILL, SIGABRT}) {
        SCOPED_TRACE(ending);
        startSession();
        program->send(ending);
        EXPECT_EQ(program->wait(), ending == SIGTERM ? 0 : -1);
        expectEverythingBack();
    }
}

TEST_P(FullScreenSessionTest, WaitsForAnOpenMenuToLetGoOfTheKeyboard) {
    ASSERT_TRUE(neighbour.grabKeyboard());
    start("automatic");
    EXPECT_TRUE(shows(kCorners, kBlack));
    neighbour.ungrabKeyboard();
    awaitSession(kBlack);
    escapeGivesEverythingBack();
}

TEST_P(TwoMonitorsSessionTest, CoversTheSecondAndNothingElse) {
    start("automatic", "right");
    expectTheRightMonitorCovered();
    escapeGivesEverythingBack();
}

TEST_P(FullScreenSessionTest, CoversAScreenWhosePointsAreTwoPixelsWide) {
    start("automatic", "screen", "2");
    awaitSession(kBlack);
    escapeGivesEverythingBack();
}

TEST_P(TwoMonitorsSessionTest, CoversTheSecondWhosePointsAreTwoPixelsWide) {
    start("automatic", "right", "2");
    expectTheRightMonitorCovered();
    escapeGivesEverythingBack();
}

const auto nameOf = [](const auto& tested) { return tested.param ? "Managed" : "Unmanaged"; };
INSTANTIATE_TEST_SUITE_P(On, FullScreenSessionTest, testing::Values(false, true), nameOf);
INSTANTIATE_TEST_SUITE_P(On, MisplacedSessionTest, testing::Values(false), nameOf);
INSTANTIATE_TEST_SUITE_P(On, TwoMonitorsSessionTest, testing::Values(false, true), nameOf);

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runStage(argc, argv, lightpen::runSession);
}
