// SPDX-License-Identifier: MIT
// The application beside a locker: a session and the check view give way at once, and nothing stands above
// it.
#include <thread>

#include "kit/ChildProcess.h"
#include "kit/linux/FakeLogind.h"
#include "kit/linux/XNeighbour.h"
#include "on_screen/ApplicationTest.h"

namespace lightpen {
namespace {

constexpr std::uint32_t kGreen = 0x00FF00;

struct Place {
    std::int16_t x, y;
};
// The corners of the check view's panel, and of the screen. The locker paints what it likes into the middle.
constexpr Place kPanelCorners[] = {{257, 129}, {766, 129}, {257, 510}, {766, 510}};
constexpr Place kScreenCorners[] = {{1, 1}, {1022, 1}, {1, 766}, {1022, 766}};

class ApplicationLockerTest : public ApplicationTest {
protected:
    // A real one, green, that tells nobody.
    void startLocker() {
        locker = std::make_unique<ChildProcess>(
            std::vector<std::string>{"i3lock", "--nofork", "--color=00ff00"}, ChildOptions{});
    }
    testing::AssertionResult isLocked() {
        for (const auto& places : {kPanelCorners, kScreenCorners})
            for (int i = 0; i < 4; ++i)
                if (desktop.pixelAt(places[i].x, places[i].y) != kGreen)
                    return testing::AssertionFailure() << places[i].x << ", " << places[i].y << " is "
                                                       << desktop.pixelAt(places[i].x, places[i].y);
        return desktop.keyboardIsFree() ? testing::AssertionFailure() << "the keyboard is free"
                                        : testing::AssertionSuccess();
    }
    // At each look for a second, in which a panel would rise ten times.
    void expectStaysLocked() {
        for (int look = 0; look < 100; ++look) {
            ASSERT_TRUE(isLocked()) << "at look " << look;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_TRUE(locker->running());
    }
    void beginSession() {
        ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--calibrated", "--no-hand"}));
        ASSERT_TRUE(isReady());
        ASSERT_TRUE(user.menu->click(Labels{"Calibration"}));
        ASSERT_TRUE(comesTrue([&] {
            const auto session = user.coveringWindow();
            return session && user.screen.focused(user.program.processId()) == session &&
                   !desktop.keyboardIsFree();
        })) << user.program.log();
    }
    testing::AssertionResult sessionEnds() {
        if (comesTrue([&] { return !user.coveringWindow(); }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << user.program.log();
    }
    bool panelIsShown() {
        return user
            .window([](const ShownWindow& window) {
                return window.x == 256 && window.y == 128 && window.width == 512 && window.height == 384;
            })
            .has_value();
    }

    XNeighbour desktop{applicationStage->server.display()};
    std::unique_ptr<ChildProcess> locker;
};

TEST_F(ApplicationLockerTest, ALockerStartedByHandEndsASessionAndGetsTheKeyboard) {
    beginSession();
    startLocker();
    EXPECT_TRUE(sessionEnds());
    EXPECT_TRUE(comesTrue([&] { return isLocked() == true; })) << isLocked().message();
    expectStaysLocked();
    locker.reset();
    EXPECT_TRUE(comesTrue([&] { return desktop.keyboardIsFree(); }));
    EXPECT_FALSE(user.coveringWindow());
    expectTap(301, 77);
}

TEST_F(ApplicationLockerTest, TheCheckViewGoesBelowALockerAndComesBackAfterIt) {
    ASSERT_TRUE(comes(user, {"--stray-light", "--calibrated"}));
    ASSERT_TRUE(user.program.perform("plug"));
    ASSERT_TRUE(comesTrue([&] { return panelIsShown(); })) << user.program.log();
    startLocker();
    EXPECT_TRUE(comesTrue([&] { return !panelIsShown(); })) << user.program.log();
    EXPECT_TRUE(comesTrue([&] { return isLocked() == true; })) << isLocked().message();
    expectStaysLocked();
    locker.reset();
    EXPECT_TRUE(comesTrue([&] { return panelIsShown(); })) << user.program.log();
}

TEST_F(ApplicationLockerTest, LightThatComesBehindALockerIsShownAfterIt) {
    ASSERT_TRUE(comes(user, {"--stray-light", "--calibrated"}));
    startLocker();
    ASSERT_TRUE(comesTrue([&] { return isLocked() == true; })) << isLocked().message();
    const auto log = user.program.log().size();
    ASSERT_TRUE(user.program.perform("plug"));
    ASSERT_TRUE(user.program.waitForLog("Light n:784 noiseDetectedCallback", log)) << user.program.log();
    expectStaysLocked();
    EXPECT_FALSE(panelIsShown());
    locker.reset();
    EXPECT_TRUE(comesTrue([&] { return panelIsShown(); })) << user.program.log();
}

TEST_F(ApplicationLockerTest, TheWishToLockEndsASession) {
    LogindProgram logind(applicationStage->bus.address());
    beginSession();
    logind.perform([](FakeLogind& fake) { Q_EMIT fake.session.Lock(); });
    EXPECT_TRUE(sessionEnds());
    EXPECT_TRUE(comesTrue([&] { return desktop.keyboardIsFree(); }));
}

TEST_F(ApplicationLockerTest, TheScreenSaverOfTheServerEndsASession) {
    beginSession();
    desktop.forceScreenSaver(true);
    EXPECT_TRUE(sessionEnds());
    EXPECT_TRUE(comesTrue([&] { return desktop.keyboardIsFree(); }));
    desktop.forceScreenSaver(false);
}

// The screen saver's word reaches both at the same time, and the locker tries for the keyboard at once.
TEST_F(ApplicationLockerTest, ALockerOfTheScreenSaverEndsASessionAndGetsTheKeyboard) {
    LogindProgram logind(applicationStage->bus.address());
    locker = std::make_unique<ChildProcess>(
        std::vector<std::string>{"xss-lock", "--", "i3lock", "--nofork", "--color=00ff00"}, ChildOptions{});
    ASSERT_TRUE(comesTrue([&] {
        bool ready = false; // once it holds up the machine's sleep
        logind.perform([&](const FakeLogind& fake) { ready = !fake.inhibitions.empty(); });
        return ready;
    }));
    beginSession();
    desktop.forceScreenSaver(true);
    EXPECT_TRUE(sessionEnds());
    desktop.forceScreenSaver(false); // the user comes back
    EXPECT_TRUE(comesTrue([&] { return isLocked() == true; })) << isLocked().message();
    expectStaysLocked();
    locker.reset();
    EXPECT_TRUE(comesTrue([&] { return desktop.keyboardIsFree(); }));
    EXPECT_FALSE(user.coveringWindow());
    expectTap(301, 77);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
