// SPDX-License-Identifier: MIT
// Calibrations from the application's menu, on the screen, with a hand that looks for the targets there.
#include <charconv>

#include "on_screen/ApplicationTest.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using testing::SizeIs;

constexpr seconds kSession{60};
constexpr std::uint8_t kEscape = 9;

class ApplicationCalibrationTest : public ApplicationTest {
protected:
    // Until the session has the keyboard, too: a key that comes before is another window's.
    // A session of its own accord needs a pen that is heard from the start: it has no hand to touch again.
    void begin() {
        ASSERT_TRUE(isReady());
        ASSERT_TRUE(user.menu->click(Labels{"Calibration"}));
        ASSERT_TRUE(comesTrue([&] {
            const auto session = user.coveringWindow();
            return session && user.screen.focused(user.program.processId()) == session;
        })) << user.program.log();
    }
    bool sessionEnds() {
        return comesTrue([&] { return !user.coveringWindow(); }, kSession);
    }
    // The numbers of what the flash holds.
    std::vector<double> flash() {
        const std::string answer = user.program.ask("flash").value_or("");
        std::vector<double> numbers;
        for (std::size_t at = 0; (at = answer.find_first_of("0123456789", at)) != std::string::npos;) {
            double number = 0;
            const auto end = std::from_chars(answer.data() + at, answer.data() + answer.size(), number).ptr;
            numbers.push_back(number);
            at = static_cast<std::size_t>(end - answer.data());
        }
        return numbers;
    }
    // The flash holds what the targets look like from the camera: as a calibration without a fault leaves it.
    void expectExactFlash() {
        const auto measured = flash();
        ASSERT_THAT(measured, SizeIs(8));
        ASSERT_TRUE(user.program.perform("calibrate"));
        const auto exact = flash();
        ASSERT_THAT(exact, SizeIs(8));
        for (std::size_t i = 0; i < exact.size(); ++i)
            EXPECT_NEAR(measured[i], exact[i], 1.5) << i;
    }
};

TEST_F(ApplicationCalibrationTest, ByHandFromAnEmptyFlash) {
    ASSERT_TRUE(comesWithUnit(user, {"--plugged"}));
    ASSERT_EQ(user.program.ask("flash"), "ok empty");
    begin();
    ASSERT_TRUE(sessionEnds());
    ASSERT_TRUE(comesTrue([&] { return user.program.ask("flash") != "ok empty"; }));
    expectTap(812, 93);
    expectTap(170, 640);

    // What was stored is what the next opening of the unit finds.
    const auto stored = flash();
    ASSERT_TRUE(user.program.perform("unplug"));
    ASSERT_TRUE(user.showsMenu({"Exit"}));
    ASSERT_TRUE(user.program.perform("plug"));
    ASSERT_TRUE(user.showsMenu(fullMenu("English")));
    expectTap(905, 588);
    EXPECT_EQ(flash(), stored);
    expectExactFlash();
}

// The hand, which may touch targets, takes those of this session for none of its own.
TEST_F(ApplicationCalibrationTest, AutomaticWithTheHandAtRest) {
    user.set("Auto Calibration", "true");
    ASSERT_TRUE(comesWithUnit(user));
    ASSERT_TRUE(isReady());
    ASSERT_TRUE(user.program.perform("wait"));
    begin();
    bool played = false;
    ASSERT_TRUE(comesTrue(
        [&] {
            played = played || user.program.isIn("hand=playing");
            return !user.coveringWindow();
        },
        kSession));
    EXPECT_FALSE(played);
    ASSERT_TRUE(comesTrue([&] { return user.program.ask("flash") != "ok empty"; }));
    expectTap(812, 93);
    expectExactFlash();
}

TEST_F(ApplicationCalibrationTest, EscapeKeepsWhatTheFlashHad) {
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--calibrated", "--no-hand"}));
    const auto before = flash();
    begin();
    user.screen.pressKey(kEscape);
    ASSERT_TRUE(sessionEnds());
    expectTap(301, 77);
    EXPECT_EQ(flash(), before);
}

// For a user whose keys go to another window.
TEST_F(ApplicationCalibrationTest, TheMenuEndsTheSessionAsLongAsItRuns) {
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--calibrated", "--no-hand"}));
    const auto before = flash();
    begin();
    Labels inSession = fullMenu("English");
    inSession.insert(inSession.begin(), "Cancel the calibration");
    ASSERT_TRUE(user.showsMenu(inSession));
    ASSERT_TRUE(user.menu->click(Labels{"Cancel the calibration"}));
    ASSERT_TRUE(sessionEnds());
    ASSERT_TRUE(user.showsMenu(fullMenu("English")));
    expectTap(301, 77);
    EXPECT_EQ(flash(), before);
}

TEST_F(ApplicationCalibrationTest, AUnitThatLeavesEndsTheSession) {
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--no-hand"}));
    begin();
    ASSERT_TRUE(user.program.perform("unplug"));
    EXPECT_TRUE(sessionEnds());
    EXPECT_TRUE(user.showsMenu({"Exit"}));

    ASSERT_TRUE(user.program.perform("plug"));
    ASSERT_TRUE(user.showsMenu(fullMenu("English")));
    ASSERT_EQ(user.program.ask("flash"), "ok empty");
    ASSERT_TRUE(user.program.perform("hand on"));
    begin();
    ASSERT_TRUE(sessionEnds());
    ASSERT_TRUE(comesTrue([&] { return user.program.ask("flash") != "ok empty"; }));
    expectTap(640, 402);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
