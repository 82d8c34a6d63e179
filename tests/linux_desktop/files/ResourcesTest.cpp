// SPDX-License-Identifier: MIT
#include "linux_desktop/files/ApplicationBundle.h"

#include <gtest/gtest.h>

#include "kit/ChildProcess.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

TEST(Resources, StandBesideTheProgram) {
    const auto folder = ApplicationBundle::resourcesOfTheProgram();
    EXPECT_EQ(folder.filename(), "resources");
    EXPECT_EQ(folder.parent_path(), std::filesystem::read_symlink("/proc/self/exe").parent_path());
}

TEST(Resources, MoveWithTheProgram) {
    const TemporaryDirectory elsewhere;
    const std::string program = elsewhere.file("moved");
    std::filesystem::copy_file("/proc/self/exe", program);
    EXPECT_EQ(runProgram({program, "--expect", elsewhere.file("resources")}), 0);
    EXPECT_EQ(runProgram({program, "--expect", ApplicationBundle::resourcesOfTheProgram()}), 1);
    // Not even a link hides where it really is.
    const TemporaryDirectory links;
    std::filesystem::create_symlink(program, links.file("link"));
    EXPECT_EQ(runProgram({links.file("link"), "--expect", elsewhere.file("resources")}), 0);
}

TEST(Resources, TheProgramHasItsSounds) {
    const auto beside = std::filesystem::path(LIGHTPEN_PROGRAM).parent_path() / "resources" / "sounds";
    for (const char* name : {"Tink.wav", "Submarine.wav"}) {
        const std::string sound = readFile(std::filesystem::path(LIGHTPEN_SOUNDS) / name);
        EXPECT_FALSE(sound.empty());
        EXPECT_EQ(readFile(beside / name), sound) << name;
    }
}

} // namespace
} // namespace lightpen

// With --expect it is the program that was moved.
int main(int argc, char** argv) {
    if (argc == 3 && std::string_view(argv[1]) == "--expect")
        return lightpen::ApplicationBundle::resourcesOfTheProgram() == argv[2] ? 0 : 1;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
