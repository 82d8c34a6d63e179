// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LinuxSounds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <thread>
#include <vector>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"
#include "kit/VirtualTime.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// What the output does, told by the test and seen by it; it outlives the output.
struct OutputScript {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> played;
    bool hangs = false;
    bool gone = false;
    std::string problem; // what the next sounds fail with

    std::vector<std::string> files() {
        const std::lock_guard hold(mutex);
        return played;
    }
    void setHanging(bool value) {
        const std::lock_guard hold(mutex);
        hangs = value;
        changed.notify_all();
    }
    void setProblem(const std::string& text) {
        const std::lock_guard hold(mutex);
        problem = text;
    }
    bool isGone() {
        const std::lock_guard hold(mutex);
        return gone;
    }
};

class ScriptedOutput final : public SoundOutput {
public:
    explicit ScriptedOutput(std::shared_ptr<OutputScript> script) : script_(std::move(script)) {}
    ~ScriptedOutput() override {
        const std::lock_guard hold(script_->mutex);
        script_->gone = true;
    }
    bool play(const std::string& file, std::string& problem) override {
        std::unique_lock lock(script_->mutex);
        script_->played.push_back(std::filesystem::path(file).filename());
        script_->changed.wait(lock, [&] { return !script_->hangs; });
        problem = script_->problem;
        return problem.empty();
    }

private:
    const std::shared_ptr<OutputScript> script_;
};

class LinuxSoundsTest : public testing::Test {
protected:
    LinuxSoundsTest() {
        for (const char* name : {"Tink.wav", "Submarine.wav", "Purr.wav"})
            writeFile(folder.path() / name, "a sound");
        sounds =
            std::make_unique<LinuxSounds>(clock, std::make_unique<ScriptedOutput>(script), folder.path());
    }
    ~LinuxSoundsTest() override { script->setHanging(false); }

    testing::AssertionResult becomesPlayed(std::size_t count) {
        if (eventually([&] { return script->files().size() == count; }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << script->files().size() << " sounds were played";
    }
    // Plays and waits until the output has it: what was left out before it never comes.
    void playLast(const SoundRef& sound) {
        const auto before = script->files().size();
        sound->play();
        EXPECT_TRUE(becomesPlayed(before + 1));
    }

    RecordingLog log;
    VirtualClock clock;
    const TemporaryDirectory folder;
    const std::shared_ptr<OutputScript> script = std::make_shared<OutputScript>();
    std::unique_ptr<LinuxSounds> sounds;
};

TEST_F(LinuxSoundsTest, PlaysTheFileOfThatName) {
    const auto tink = sounds->soundNamed("Tink");
    const auto submarine = sounds->soundNamed("Submarine");
    ASSERT_TRUE(tink && submarine);
    EXPECT_EQ(tink->name(), "Tink");
    EXPECT_FALSE(*tink == *submarine);
    EXPECT_TRUE(*tink == *sounds->soundNamed("Tink"));
    submarine->play();
    tink->play();
    EXPECT_TRUE(becomesPlayed(2));
    EXPECT_THAT(script->files(), ElementsAre("Submarine.wav", "Tink.wav"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(LinuxSoundsTest, ANameWithoutAFileIsNoSoundAndIsSaidOnce) {
    EXPECT_EQ(sounds->soundNamed("Basso"), nullptr);
    EXPECT_EQ(sounds->soundNamed("Basso"), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre("Sounds: there is no " + folder.file("Basso.wav")));
}

TEST_F(LinuxSoundsTest, ANameIsNoPath) {
    std::filesystem::create_directory(folder.path() / "inner");
    writeFile(folder.path() / "inner" / "Deep.wav", "a sound");
    for (const char* name : {"", "inner/Deep", "../Tink", "/Tink"})
        EXPECT_EQ(sounds->soundNamed(name), nullptr) << name;
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(LinuxSoundsTest, AServerThatHangsHoldsUpNobodyAndGathersNothing) {
    script->setHanging(true);
    const auto tink = sounds->soundNamed("Tink");
    playLast(tink);
    const auto submarine = sounds->soundNamed("Submarine");
    for (int i = 0; i < 100; ++i)
        submarine->play(); // returns each time, or the test never ends
    script->setHanging(false);
    ASSERT_TRUE(becomesPlayed(1 + LinuxSounds::kMostWaiting));
    playLast(sounds->soundNamed("Purr")); // none of the others comes before it
    EXPECT_EQ(script->files().back(), "Purr.wav");
}

TEST_F(LinuxSoundsTest, ASoundThatComesTooLateIsLeftOut) {
    script->setHanging(true);
    const auto tink = sounds->soundNamed("Tink");
    playLast(tink);
    sounds->soundNamed("Submarine")->play();
    clock.advanceTo(clock.now() + LinuxSounds::kMostLate + 1us);
    const auto purr = sounds->soundNamed("Purr");
    purr->play(); // this one is in time
    script->setHanging(false);
    EXPECT_TRUE(becomesPlayed(2));
    EXPECT_THAT(script->files(), ElementsAre("Tink.wav", "Purr.wav"));
}

TEST_F(LinuxSoundsTest, AFailureIsSaidOnceAndNotTriedAgainAtOnce) {
    script->setProblem("no server");
    const auto tink = sounds->soundNamed("Tink");
    playLast(tink);
    ASSERT_TRUE(eventually([&] { return !log.lines().empty(); }));
    tink->play();
    tink->play();
    clock.advanceTo(clock.now() + LinuxSounds::kRetry);
    playLast(tink); // the second that reached the output
    EXPECT_THAT(script->files(), ElementsAre("Tink.wav", "Tink.wav"));
    EXPECT_THAT(log.lines(), ElementsAre("Sounds: nothing is heard: no server"));
}

TEST_F(LinuxSoundsTest, AFailureAfterASuccessIsSaidAgain) {
    const auto tink = sounds->soundNamed("Tink");
    for (int failures = 1; failures <= 2; ++failures) {
        clock.advanceTo(clock.now() + LinuxSounds::kRetry);
        script->setProblem("");
        playLast(tink);
        script->setProblem("gone");
        playLast(tink);
        EXPECT_TRUE(eventually([&] { return log.lines().size() == static_cast<std::size_t>(failures); }));
    }
}

TEST_F(LinuxSoundsTest, PlaysFromAnyThread) {
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i)
        callers.emplace_back([&] {
            for (int j = 0; j < 50; ++j)
                sounds->soundNamed("Tink")->play();
        });
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_TRUE(eventually([&] { return !script->files().empty(); }));
}

TEST_F(LinuxSoundsTest, ASoundThatOutlivesThemIsSilent) {
    const auto tink = sounds->soundNamed("Tink");
    playLast(tink);
    sounds.reset();
    tink->play();
    EXPECT_THAT(script->files(), ElementsAre("Tink.wav"));
}

TEST_F(LinuxSoundsTest, EndsWithoutItsThreadWhenTheServerHangs) {
    script->setHanging(true);
    playLast(sounds->soundNamed("Tink"));
    sounds.reset(); // returns, or the test never ends
    EXPECT_FALSE(script->isGone());
    script->setHanging(false);
    EXPECT_TRUE(eventually([&] { return script->isGone(); })); // the thread has ended too
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(LinuxSoundsTest, WithoutASoundThereIsNoThread) {
    sounds.reset();
    EXPECT_TRUE(script->isGone());
}

} // namespace
} // namespace lightpen
