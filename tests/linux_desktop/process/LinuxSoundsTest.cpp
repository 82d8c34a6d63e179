// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LinuxSounds.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <thread>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"
#include "kit/ThreadCount.h"
#include "platform/FileDescriptor.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// In front of the samples.
constexpr std::size_t kWaveHeader = 44;

// The environment as on a machine without any sound, but for what the test adds; libcanberra itself is the
// real one.
class LinuxSoundsTest : public testing::Test {
protected:
    LinuxSoundsTest() {
        for (const char* name : {"CANBERRA_DRIVER", "CANBERRA_DEVICE", "PULSE_SERVER", "ALSA_CONFIG_PATH"})
            unsetenv(name);
        setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
    }
    static std::string samples(const std::string& name) {
        return readFile(LIGHTPEN_SOUNDS "/" + name + ".wav").substr(kWaveHeader);
    }
    // A sound card that writes what it is given into the file "record".
    void putCard() {
        writeFile(folder.path() / "card", "pcm.!default { type file file \"" + folder.file("record") +
                                              "\" format raw slave.pcm none }\npcm.none { type null }\n");
        setenv("ALSA_CONFIG_PATH", folder.file("card").c_str(), 1);
        setenv("CANBERRA_DRIVER", "alsa", 1);
    }
    // A card that takes nothing, and holds up whoever opens it, until somebody reads what it is given.
    void putHangingCard() {
        putCard();
        ASSERT_EQ(mkfifo(folder.file("record").c_str(), 0600), 0);
    }
    FileDescriptor readCard() const {
        return FileDescriptor(open(folder.file("record").c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    }
    void putBrokenCard() { setenv("CANBERRA_DRIVER", "none-of-that-name", 1); }
    bool isHeard(const std::string& expected) {
        return eventually([&] { return readFile(folder.file("record")) == expected; });
    }
    bool isSaid(std::size_t lines) {
        return eventually([&] { return log.lines().size() == lines; });
    }
    // A sound comes after the one before it.
    void playUntilHeard(const std::string& name) {
        std::filesystem::remove(folder.file("record"));
        sounds->soundNamed(name)->play();
        EXPECT_TRUE(isHeard(samples(name)));
    }
    // Every sound has been played or left out.
    bool becomesQuiet() const {
        return eventually([&] { return threadCount() == quiet; });
    }
    void make(LinuxSounds::Patience patience) {
        sounds = std::make_unique<LinuxSounds>(LIGHTPEN_SOUNDS, patience);
    }

    RecordingLog log;
    const std::ptrdiff_t quiet = threadCount();
    const TemporaryDirectory folder;
    std::unique_ptr<LinuxSounds> sounds =
        std::make_unique<LinuxSounds>(LIGHTPEN_SOUNDS, LinuxSounds::Patience{1h, 0s});
};

TEST_F(LinuxSoundsTest, TheCardGetsEverySample) {
    putCard();
    const auto tink = sounds->soundNamed("Tink");
    ASSERT_TRUE(tink);
    EXPECT_EQ(tink->name(), "Tink");
    EXPECT_TRUE(*tink == *sounds->soundNamed("Tink"));
    EXPECT_FALSE(*tink == *sounds->soundNamed("Submarine"));
    EXPECT_GT(samples("Tink").size(), 1000u);
    playUntilHeard("Tink");
    playUntilHeard("Submarine");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(LinuxSoundsTest, ANameWithoutAFileIsNoSoundAndIsSaidOnce) {
    EXPECT_EQ(sounds->soundNamed("Basso"), nullptr);
    EXPECT_EQ(sounds->soundNamed("Basso"), nullptr);
    EXPECT_THAT(log.lines(), ElementsAre("Sounds: there is no " LIGHTPEN_SOUNDS "/Basso.wav"));
}

TEST_F(LinuxSoundsTest, ANameIsNoPath) {
    std::filesystem::create_directories(folder.path() / "sounds/inner");
    for (const char* file : {"Above.wav", "sounds/inner/Deep.wav"})
        writeFile(folder.path() / file, "a sound");
    LinuxSounds ofFolder(folder.path() / "sounds", {});
    for (const char* name : {"", "inner/Deep", "../Above", "/Above"})
        EXPECT_EQ(ofFolder.soundNamed(name), nullptr) << name;
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(LinuxSoundsTest, AFailureIsSaidOnceUntilASoundIsHeard) {
    putCard();
    writeFile(folder.path() / "Gone.wav", "");
    LinuxSounds ofFolder(folder.path(), {1h, 0s});
    const auto gone = ofFolder.soundNamed("Gone");
    std::filesystem::copy_file(LIGHTPEN_SOUNDS "/Tink.wav", folder.path() / "Tink.wav");
    const auto tink = ofFolder.soundNamed("Tink");
    std::filesystem::remove(folder.path() / "Gone.wav");
    for (std::size_t failures = 1; failures <= 2; ++failures) {
        gone->play();
        gone->play();
        EXPECT_TRUE(becomesQuiet());
        EXPECT_EQ(log.lines().size(), failures);
        std::filesystem::remove(folder.file("record"));
        tink->play();
        EXPECT_TRUE(becomesQuiet());
        EXPECT_EQ(readFile(folder.file("record")), samples("Tink"));
    }
    const std::string line = "Sounds: nothing is heard: File or data not found";
    EXPECT_THAT(log.lines(), ElementsAre(line, line));
}

TEST_F(LinuxSoundsTest, ACardThatComesLaterIsFound) {
    putBrokenCard();
    sounds->soundNamed("Tink")->play();
    EXPECT_TRUE(isSaid(1));
    EXPECT_THAT(log.lines(), ElementsAre("Sounds: nothing is heard: No such driver"));
    putCard();
    playUntilHeard("Tink");
}

TEST_F(LinuxSoundsTest, AFailureIsNotTriedAgainAtOnce) {
    make({1h, 1h});
    putBrokenCard();
    sounds->soundNamed("Tink")->play();
    EXPECT_TRUE(isSaid(1));
    putCard();
    sounds->soundNamed("Tink")->play();
    sounds.reset(); // which waits for it
    EXPECT_FALSE(std::filesystem::exists(folder.file("record")));
}

TEST_F(LinuxSoundsTest, AFileThatIsNoSoundIsSaid) {
    putCard();
    writeFile(folder.path() / "Noise.wav", "not a sound");
    LinuxSounds ofFolder(folder.path(), {1h, 0s});
    ofFolder.soundNamed("Noise")->play();
    EXPECT_TRUE(isSaid(1));
}

TEST_F(LinuxSoundsTest, WhereNothingCanPlayTheLibraryIsLeftAlone) {
    if (soundIsPossible())
        GTEST_SKIP() << "this machine can play by itself";
    sounds->soundNamed("Tink")->play();
    EXPECT_TRUE(isSaid(1));
    EXPECT_THAT(log.lines(), ElementsAre("Sounds: nothing is heard: there is no sound server"));
}

TEST_F(LinuxSoundsTest, AServerOfTheUsersMakesSoundPossible) {
    if (soundIsPossible())
        GTEST_SKIP() << "this machine can play by itself";
    std::filesystem::create_directory(folder.path() / "pulse");
    EXPECT_FALSE(soundIsPossible());
    writeFile(folder.path() / "pulse" / "native", "");
    EXPECT_TRUE(soundIsPossible());
    std::filesystem::remove(folder.path() / "pulse" / "native");
    writeFile(folder.path() / "pipewire-0", "");
    EXPECT_TRUE(soundIsPossible());
}

TEST_F(LinuxSoundsTest, AChosenOutputMakesSoundPossible) {
    for (const char* name : {"CANBERRA_DRIVER", "PULSE_SERVER", "ALSA_CONFIG_PATH"}) {
        setenv(name, "something", 1);
        EXPECT_TRUE(soundIsPossible()) << name;
        unsetenv(name);
    }
}

// The library's call does not return while the card hangs; without a thread none of these tests would end.
TEST_F(LinuxSoundsTest, AServerThatHangsHoldsUpNobodyAndGathersNothing) {
    putHangingCard();
    const auto tink = sounds->soundNamed("Tink");
    for (int i = 0; i < 100; ++i)
        tink->play();
    EXPECT_LE(threadCount() - quiet, 1 + LinuxSounds::kMostWaiting);
    sounds.reset();
    EXPECT_THAT(log.lines(), IsEmpty());
    const auto card = readCard(); // lets the one go that hangs
    EXPECT_TRUE(becomesQuiet());
}

TEST_F(LinuxSoundsTest, ASoundThatComesTooLateIsLeftOut) {
    make({1s, 0s});
    putHangingCard();
    const auto tink = sounds->soundNamed("Tink");
    tink->play();
    tink->play();
    std::this_thread::sleep_for(1100ms); // the second one's time passes
    const auto card = readCard();
    std::string heard;
    const auto hears = [&](const std::string& expected) {
        return eventually([&] {
            char bytes[4096];
            for (ssize_t count = 0; (count = read(card.get(), bytes, sizeof bytes)) > 0;)
                heard.append(bytes, static_cast<std::size_t>(count));
            return heard == expected;
        });
    };
    EXPECT_TRUE(hears(samples("Tink")));
    sounds->soundNamed("Submarine")->play();
    EXPECT_TRUE(hears(samples("Tink") + samples("Submarine")));
}

TEST_F(LinuxSoundsTest, ASoundThatOutlivesThemIsSilent) {
    putCard();
    const auto tink = sounds->soundNamed("Tink");
    sounds.reset();
    tink->play();
    make({1h, 0s});
    playUntilHeard("Submarine");
}

} // namespace
} // namespace lightpen
