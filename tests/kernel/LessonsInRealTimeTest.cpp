// SPDX-License-Identifier: MIT
// Lessons in real time, with nothing made up but the camera: a calibration by hand, strokes, a tap, a long
// press, replugs and stray light. After the last one the program holds what it held after the first ones.
#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <QCoreApplication>

#include "emulated/UnitControl.h"
#include "kernel/support/ApplicationAtDesk.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/PointerWatch.h"
#include "kernel/support/RuleFile.h"
#include "kit/Eventually.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

using std::chrono::seconds;
using Seen = CanvasEvent::Kind;

DeskWithPanel* session = nullptr;

constexpr Microseconds kTouch = std::chrono::milliseconds(500);
constexpr int kStrokes = 4;
// The allocator and Qt have stores of their own, which fill in the first lessons and go up and down by a
// megabyte later.
constexpr int kFirstLessons = 2;
constexpr long kSlackKilobytes = 2048;

// The kernel is to count small pages: with huge ones a few bytes are two megabytes.
void leaveOutHugePages() {
    std::ofstream("/sys/kernel/mm/transparent_hugepage/enabled") << "never";
}

// How long the lessons go on behind the first ones.
Microseconds lengthOfLessons() {
    const char* const minutes = std::getenv("LIGHTPEN_SOAK_MINUTES");
    return minutes ? std::chrono::minutes(std::atoi(minutes)) : seconds(20);
}

// What the program holds.
struct Holding {
    long memory = 0; // in kB
    std::size_t descriptors = 0;
    std::size_t threads = 0;
};

class LessonsInRealTimeTest : public ApplicationAtDesk {
protected:
    LessonsInRealTimeTest() : ApplicationAtDesk(*session) { storeCalibration(unit, kScreen); }

    void playLesson() {
        ASSERT_NO_FATAL_FAILURE(calibrate());
        ASSERT_NO_FATAL_FAILURE(replug());
        ASSERT_NO_FATAL_FAILURE(awaitUsable());
        draw();
        ASSERT_NO_FATAL_FAILURE(meetStrayLight());
        ++lessons;
        print();
        EXPECT_TRUE(eventually([this] { return !pointer->buttonDown(); }));
    }
    void replug() {
        driver->skipLog();
        unit.unplug();
        ASSERT_TRUE(driver->waitFor(kRemoved, seconds(60)));
        ASSERT_NO_FATAL_FAILURE(plugIn());
        ++replugs;
    }
    void calibrate() {
        driver->skipLog();
        ASSERT_TRUE(menu->click({"Calibration"}));
        ASSERT_TRUE(comesTrue([this] { return windows().size() == 1; })) << "there is no session";
        bool completed = false;
        touchTargets([&] { return completed = driver->waitFor(kCompleted, seconds(0)); });
        ASSERT_TRUE(completed) << "the calibration was not completed";
        EXPECT_TRUE(comesTrue([this] { return windows().empty(); })) << "the session's window is still there";
        awaitRest();
    }
    // Strokes, a tap, and a press that is long enough for the right button.
    void draw() {
        Hand hand;
        for (int stroke = 0; stroke < kStrokes; ++stroke)
            hand.drag({place(), place()}, 900);
        play(hand.tap(place(), kTouch).hold(place(), kLongPress));
        strokes += kStrokes;
    }
    // A lamp shines when the unit comes. It is switched off, the user closes the warning, and the pen is
    // back.
    void meetStrayLight() {
        unit.strayLight(UnitControl::kLampBeside);
        ASSERT_NO_FATAL_FAILURE(plugInToWarning());
        unit.strayLight(std::nullopt);
        driver->skipLog();
        for (const ShownWindow& window : windows())
            if (!window.title.empty())
                screen.close(window);
        ASSERT_TRUE(comesTrue([this] { return windows().empty(); })) << "the warning stays";
        ASSERT_NO_FATAL_FAILURE(awaitUsable());
    }
    // The driver looks for the light for 50 ms, in which a guest that is held up sees none.
    void plugInToWarning() {
        bool warned = false;
        for (int looks = 0; looks < 5 && !warned; ++looks) {
            ASSERT_NO_FATAL_FAILURE(replug());
            warned = comesTrue([this] { return windows().size() == 2; }, seconds(10));
        }
        ASSERT_TRUE(warned) << "there is no warning";
        ++lights;
    }
    ScreenPoint place() {
        std::uniform_int_distribution<int> across(40, static_cast<int>(kScreen.width) - 40);
        std::uniform_int_distribution<int> down(80, static_cast<int>(kScreen.height) - 40);
        const int x = across(random_);
        return {static_cast<double>(x), static_cast<double>(down(random_))};
    }

    Holding holding() const {
        return {driver->privateMemory(), driver->openDescriptors(), driver->threads()};
    }
    void print() const {
        const Holding now = holding();
        std::printf(
            "lesson %d after %.0f s: %d strokes, %d replugs, %d times stray light; %ld kB, %zu descriptors, "
            "%zu threads\n",
            lessons, static_cast<double>(clock.now().count()) / 1e6, strokes, replugs, lights, now.memory,
            now.descriptors, now.threads);
        std::fflush(stdout);
    }
    // The lines that a user or an administrator should act on: the others carry a number.
    std::vector<std::string> linesToActOn() const {
        std::istringstream log(driver->log());
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);)
            if (line.find(" n:") == line.npos)
                lines.push_back(line);
        return lines;
    }

    std::unique_ptr<test::PointerWatch> pointer;
    int lessons = 0;
    int strokes = 0;
    int replugs = 0;
    int lights = 0;

private:
    std::minstd_rand random_{1};
};

TEST_F(LessonsInRealTimeTest, TheLastLessonLeavesNoMoreThanTheFirst) {
    leaveOutHugePages();
    ASSERT_NO_FATAL_FAILURE(startApplication());
    pointer = std::make_unique<test::PointerWatch>();
    ASSERT_TRUE(pointer->found());
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_NO_FATAL_FAILURE(awaitUsable());
    while (lessons < kFirstLessons)
        ASSERT_NO_FATAL_FAILURE(playLesson());
    const Holding first = holding();
    ASSERT_GT(first.memory, 0);
    const auto saidBefore = linesToActOn();
    for (const Microseconds end = clock.now() + lengthOfLessons(); clock.now() < end;)
        ASSERT_NO_FATAL_FAILURE(playLesson());
    EXPECT_TRUE(eventually([&] { return holding().descriptors <= first.descriptors; }))
        << holding().descriptors << " instead of " << first.descriptors;
    EXPECT_TRUE(eventually([&] { return holding().threads <= first.threads; }))
        << holding().threads << " instead of " << first.threads;
    EXPECT_LE(holding().memory, first.memory + kSlackKilobytes);
    EXPECT_EQ(driver->end(), 0);
    EXPECT_EQ(linesToActOn(), saidBefore);
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
