// SPDX-License-Identifier: MIT
// A day of lessons in virtual time: strokes, calibrations, stray light, pictures, plugs and replugs. What the
// program holds after the last lesson is what it held after the first ones.
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <random>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <QPixmapCache>

#include "kit/calibration/ScriptedDay.h"

// What is counted is what this program's own code has asked for, to the byte: Qt and the allocator keep
// stores of their own, which have limits.
namespace {

std::atomic<std::ptrdiff_t> heldBytes{0};

std::ptrdiff_t sizeOf(void* memory) {
    return static_cast<std::ptrdiff_t>(malloc_usable_size(memory));
}

} // namespace

void* operator new(std::size_t size) {
    void* const memory = std::malloc(size);
    if (!memory)
        throw std::bad_alloc();
    heldBytes += sizeOf(memory);
    return memory;
}

void operator delete(void* memory) noexcept {
    heldBytes -= sizeOf(memory);
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}

namespace lightpen {
namespace {

using namespace std::chrono_literals;

// Of lists whose length is a matter of the moment, whatever the number of lessons.
constexpr std::ptrdiff_t kSlack = 256;

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class LessonsTest : public testing::Test {
protected:
    LessonsTest() {
        if (const char* hours = std::getenv("LIGHTPEN_SOAK_HOURS"))
            length = std::chrono::hours(std::atoi(hours));
    }
    void step(DayStep what, int argument = 0) {
        script_.push_back(static_cast<std::uint8_t>(what));
        script_.push_back(static_cast<std::uint8_t>(argument));
    }
    void pause(Microseconds duration) {
        for (; duration > 0s; duration -= 2s)
            step(DayStep::wait, static_cast<int>(std::min<Microseconds>(duration, 2s) / 8ms));
    }
    void strokes(int count) {
        for (; count > 0; --count) {
            for (int place = 0; place < 8; ++place)
                step(DayStep::touch, static_cast<int>(random_() % 256));
            step(DayStep::lift);
            pause(1s);
        }
    }
    // One of a quarter of an hour, with every unit of two in its turn.
    void playLesson() {
        script_.clear();
        const int unit = lessons_++ % 2;
        step(DayStep::plug, unit);
        pause(4s);
        step(DayStep::calibrate);
        for (const int corner : {0x11, 0xE1, 0x1E, 0xEE}) {
            pause(1s);
            step(DayStep::touch, corner);
            pause(100ms);
            step(DayStep::lift);
        }
        pause(4s);
        strokes(40);
        step(DayStep::touch, 0x77); // a long press
        pause(3s);
        step(DayStep::lift);
        step(DayStep::calibrate, 1); // without an end of its own
        pause(4s);
        step(DayStep::cancel);
        step(DayStep::picture);
        pause(2s);
        // Its cable is loose.
        for (int replug = 0; replug < 3; ++replug) {
            step(DayStep::touch, 0x55);
            step(DayStep::unplug, unit);
            pause(1s);
            step(DayStep::plug, unit);
            pause(4s);
        }
        step(DayStep::plug, 1 - unit);
        pause(4s);
        step(DayStep::unplug, 1 - unit);
        // The sun.
        step(DayStep::light, 0x82 | unit);
        step(DayStep::unplug, unit);
        pause(1s);
        step(DayStep::plug, unit);
        pause(4s);
        step(DayStep::light, 0x80 | unit);
        step(DayStep::preview);
        pause(10min);
        strokes(20);
        ASSERT_EQ(day.play(script_), "");
    }

    long lessons() const { return lessons_; }

    ScriptedDay day;
    Microseconds length = 2h;

private:
    std::vector<std::uint8_t> script_;
    std::minstd_rand random_{1};
    int lessons_ = 0;
};

TEST_F(LessonsTest, TheLastLessonLeavesNoMoreThanTheFirst) {
    // Qt's style draws each new button anew and keeps the picture, or at least a record of it, for half a
    // minute of real time, in which hours of lessons go by.
    QPixmapCache::setCacheLimit(0);
    const Microseconds begin = day.now();
    for (int lesson = 0; lesson < 2; ++lesson)
        ASSERT_NO_FATAL_FAILURE(playLesson());
    const std::ptrdiff_t memory = heldBytes;
    const auto descriptors = openDescriptors();
    while (day.now() - begin < length) {
        ASSERT_NO_FATAL_FAILURE(playLesson());
    }
    const auto& tally = day.tally();
    EXPECT_EQ(tally.calibrations, lessons());
    EXPECT_EQ(tally.pictures, lessons());
    EXPECT_EQ(tally.lights, lessons());
    EXPECT_GE(tally.presses, 60 * lessons());
    const std::ptrdiff_t left = heldBytes - memory;
    RecordProperty("bytes left", std::to_string(left));
    EXPECT_LE(left, kSlack);
    EXPECT_EQ(openDescriptors(), descriptors);
}

// What a fuzzer plays, and what it has found.
TEST(ScriptedDayTest, NothingIsLeftOfTheDaysThatAFuzzerBeginsWith) {
    for (const auto& file : std::filesystem::directory_iterator(LIGHTPEN_CORPUS)) {
        std::ifstream stream(file.path(), std::ios::binary);
        const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
        ASSERT_FALSE(bytes.empty()) << file.path();
        const std::vector<std::uint8_t> script(bytes.begin(), bytes.end());
        EXPECT_EQ(ScriptedDay().play(script), "") << file.path();
    }
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
