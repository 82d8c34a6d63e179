// SPDX-License-Identifier: MIT
// The program as a user has it, with nothing made up but the camera and the panel: from plugging a new unit
// in, over a calibration that is chosen from the menu, to a pen that draws. The program is an ordinary
// user's, and is seen from outside only: its menu over the bus, its windows on the screen, its unit through
// the kernel.
#include <gmock/gmock.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <QCoreApplication>

#include "emulated/UnitControl.h"
#include "kernel/support/ApplicationAtDesk.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/RuleFile.h"
#include "measure/Accuracy.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

namespace fs = std::filesystem;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Le;

DeskWithPanel* session = nullptr;

// Where the targets of a calibration stand on the screen, in points.
constexpr ScreenPoint kTargets[] = {{170, 75}, {1110, 75}, {170, 645}, {1110, 645}};
constexpr const char* kExitChosen = "Light n:746 exit";

const std::vector<std::string> kWithUnit{
    "Calibration", "Projection Distance", "Language", "-", "Help", "About...", "Exit"};
const std::vector<std::string> kWithoutUnit{"Exit"};

class ApplicationOnScreenTest : public ApplicationAtDesk {
protected:
    ApplicationOnScreenTest() : ApplicationAtDesk(*session) {}

    // The labels of the menu once they are these; what they are when they do not become so.
    std::vector<std::string> menuAwaiting(const std::vector<std::string>& labels) {
        std::vector<std::string> now;
        comesTrue([&] {
            const auto root = menu->layout();
            now = root ? root->labels() : std::vector<std::string>{"(no menu)"};
            return now == labels;
        });
        return now;
    }

    // The unit's first reports arm the pen; where they were missed, touches do.
    void awaitArmed() {
        bool armed = driver->waitFor(kArmed, seconds(1));
        for (int knocks = 0; knocks < 10 && !armed; ++knocks) {
            knock();
            armed = driver->waitFor(kArmed, seconds(1));
        }
        ASSERT_TRUE(armed);
    }
    // Chooses the calibration from the menu; the hand plays it, and the unit stores it.
    void calibrate() {
        ASSERT_FALSE(unit.flash()->calibrated());
        ASSERT_TRUE(menu->click({"Calibration"}));
        ASSERT_TRUE(comesTrue([this] { return windows().size() == 1; })) << "there is no session";
        const ShownWindow cover = windows().front();
        EXPECT_EQ((Size{static_cast<double>(cover.width), static_cast<double>(cover.height)}), kScreen);
        EXPECT_GE(touchTargets([this] { return unit.flash()->calibrated(); }), 4);
        ASSERT_TRUE(unit.flash()->calibrated()) << "the calibration was not completed";
        EXPECT_TRUE(comesTrue([this] { return driver->count(kCompleted) == 1; }));
        EXPECT_TRUE(comesTrue([this] { return windows().empty(); })) << "the session's window is still there";
        // The touch that ended the session is no part of what is drawn next.
        awaitRest();
        expectTheTargetsStored();
    }
    void expectTheTargetsStored() {
        const auto points = unit.flash()->points();
        ASSERT_TRUE(points);
        for (std::size_t i = 0; i < points->size(); ++i) {
            EXPECT_NEAR((*points)[i].x, unit.seen(kTargets[i]).x, 0.6) << i;
            EXPECT_NEAR((*points)[i].y, unit.seen(kTargets[i]).y, 0.6) << i;
        }
    }
    // What the hand draws arrives in the program in use, as exactly as after any calibration by hand.
    void expectToDraw() {
        ASSERT_NO_FATAL_FAILURE(awaitUsable());
        touches.clear();
        play(tapsEverywhere());
        play(Hand().drag({{1100, 600}, {250, 410}}, 600));
        const AccuracyAims aims;
        EXPECT_THAT(expectEverythingArrived(aims.pointerWorst).median, Le(aims.pointerMedian));
    }
    // The user's autostart folder holds one entry, which starts this very program.
    void expectToStartAtLogin() {
        std::vector<std::string> entries;
        std::error_code none;
        for (const auto& file : fs::directory_iterator(driver->home() / ".config" / "autostart", none))
            entries.push_back(readFile(file.path()));
        EXPECT_THAT(entries, ElementsAre(HasSubstr("\nExec=" + installedProgram() + "\n")));
    }
    // Waits until the panel has nothing of it any more.
    bool leavesThePanel() {
        return comesTrue([] { return session->panel->items().empty(); });
    }
    std::vector<std::uint8_t> pixels() {
        const auto picture = eyes->look();
        return picture ? std::vector(picture->bytes.begin(), picture->bytes.end())
                       : std::vector<std::uint8_t>();
    }
    // Waits until it ends by itself.
    void expectTheEnd() {
        ASSERT_TRUE(comesTrue([this] { return !driver->running(); })) << "the program goes on";
        EXPECT_EQ(driver->end(), 0);
    }

    const std::vector<std::uint8_t> desktop = pixels();
};

TEST_F(ApplicationOnScreenTest, ANewUnitIsCalibratedFromTheMenuAndDrawsAlsoAfterReplugging) {
    ASSERT_NO_FATAL_FAILURE(startApplication());
    EXPECT_EQ(menuAwaiting(kWithoutUnit), kWithoutUnit);
    expectToStartAtLogin();
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_EQ(menuAwaiting(kWithUnit), kWithUnit);
    ASSERT_NO_FATAL_FAILURE(awaitArmed());
    ASSERT_NO_FATAL_FAILURE(calibrate());
    ASSERT_NO_FATAL_FAILURE(expectToDraw());

    driver->skipLog();
    unit.unplug();
    EXPECT_EQ(menuAwaiting(kWithoutUnit), kWithoutUnit);
    ASSERT_TRUE(driver->waitFor(kRemoved));
    ASSERT_NO_FATAL_FAILURE(plugIn());
    EXPECT_EQ(menuAwaiting(kWithUnit), kWithUnit);
    ASSERT_NO_FATAL_FAILURE(expectToDraw());

    menu->click({"Exit"}); // which may be the end before there is an answer
    expectTheEnd();
    EXPECT_EQ(driver->count(kExitChosen), 1U);
    EXPECT_TRUE(leavesThePanel());
    EXPECT_EQ(driver->count(kRefused), 0U);
}

TEST_F(ApplicationOnScreenTest, AProgramThatIsEndedInASessionLeavesNothingBehind) {
    storeCalibration(unit, kScreen);
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_NO_FATAL_FAILURE(startApplication());
    ASSERT_EQ(menuAwaiting(kWithUnit), kWithUnit);
    ASSERT_TRUE(menu->click({"Calibration"}));
    ASSERT_TRUE(comesTrue([this] { return windows().size() == 1 && pixels() != desktop; }));
    EXPECT_EQ(driver->end(seconds(20)), 0);
    EXPECT_TRUE(leavesThePanel());
    EXPECT_TRUE(comesTrue([this] { return pixels() == desktop; })) << "the screen is not as it was";
    expectTheTargetsStored();
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    const lightpen::PackagedRule rule;
    lightpen::DeskWithPanel session;
    session.prepare();
    lightpen::session = &session;
    return RUN_ALL_TESTS();
}
