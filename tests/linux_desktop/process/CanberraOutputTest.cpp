// SPDX-License-Identifier: MIT
#include "linux_desktop/process/CanberraOutput.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "kit/Eventually.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

constexpr const char* kTink = LIGHTPEN_SOUNDS "/Tink.wav";
// In front of the samples.
constexpr std::size_t kWaveHeader = 44;

// The environment as on a machine without any sound, but for what the test adds; libcanberra itself is the
// real one.
class CanberraOutputTest : public testing::Test {
protected:
    CanberraOutputTest() {
        for (const char* name : {"CANBERRA_DRIVER", "CANBERRA_DEVICE", "PULSE_SERVER", "ALSA_CONFIG_PATH"})
            unsetenv(name);
        setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
    }
    // A sound card that writes what it is given into this file.
    std::string recordingCard() {
        const std::string record = folder.file("record");
        writeFile(folder.path() / "card", "pcm.!default { type file file \"" + record +
                                              "\" format raw slave.pcm none }\npcm.none { type null }\n");
        setenv("ALSA_CONFIG_PATH", folder.file("card").c_str(), 1);
        setenv("CANBERRA_DRIVER", "alsa", 1);
        return record;
    }
    bool play(const std::string& file) {
        problem.clear();
        return output.play(file, problem);
    }

    const TemporaryDirectory folder;
    std::string problem;
    CanberraOutput output;
};

TEST_F(CanberraOutputTest, TheCardGetsEverySample) {
    const std::string record = recordingCard();
    ASSERT_TRUE(play(kTink)) << problem;
    const std::string samples = readFile(kTink).substr(kWaveHeader);
    EXPECT_GT(samples.size(), 1000u);
    EXPECT_TRUE(eventually([&] { return readFile(record) == samples; })) << readFile(record).size();
}

TEST_F(CanberraOutputTest, ADriverThatIsNotThereIsAReason) {
    setenv("CANBERRA_DRIVER", "none-of-that-name", 1);
    EXPECT_FALSE(play(kTink));
    EXPECT_EQ(problem, "No such driver");
}

TEST_F(CanberraOutputTest, TriesAnewAfterAFailure) {
    setenv("CANBERRA_DRIVER", "none-of-that-name", 1);
    EXPECT_FALSE(play(kTink));
    recordingCard();
    EXPECT_TRUE(play(kTink)) << problem;
}

TEST_F(CanberraOutputTest, AFileThatIsNoSoundIsAReason) {
    recordingCard();
    writeFile(folder.path() / "noise.wav", "not a sound");
    EXPECT_FALSE(play(folder.file("noise.wav")));
    EXPECT_FALSE(problem.empty());
    EXPECT_FALSE(play(folder.file("missing.wav")));
    EXPECT_EQ(problem, "File or data not found");
}

TEST_F(CanberraOutputTest, WhereNothingCanPlayTheLibraryIsLeftAlone) {
    CanberraOutput silent([] { return false; });
    recordingCard();
    EXPECT_FALSE(silent.play(kTink, problem));
    EXPECT_EQ(problem, "there is no sound server");
    EXPECT_FALSE(std::filesystem::exists(folder.file("record")));
}

TEST_F(CanberraOutputTest, AServerOfTheUsersMakesSoundPossible) {
    if (std::filesystem::exists("/dev/snd") || std::filesystem::exists("/run/pulse/native"))
        GTEST_SKIP() << "this machine can play by itself";
    EXPECT_FALSE(soundIsPossible());
    std::filesystem::create_directory(folder.path() / "pulse");
    EXPECT_FALSE(soundIsPossible());
    writeFile(folder.path() / "pulse" / "native", "");
    EXPECT_TRUE(soundIsPossible());
    std::filesystem::remove(folder.path() / "pulse" / "native");
    writeFile(folder.path() / "pipewire-0", "");
    EXPECT_TRUE(soundIsPossible());
}

TEST_F(CanberraOutputTest, AChosenOutputMakesSoundPossible) {
    for (const char* name : {"CANBERRA_DRIVER", "PULSE_SERVER", "ALSA_CONFIG_PATH"}) {
        setenv(name, "something", 1);
        EXPECT_TRUE(soundIsPossible()) << name;
        unsetenv(name);
    }
}

} // namespace
} // namespace lightpen
