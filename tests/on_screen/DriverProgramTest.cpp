// SPDX-License-Identifier: MIT
// The driver program's command line, as far as it gets without the machine's units.
#include <gmock/gmock.h>

#include <filesystem>

#include "kit/ChildProcess.h"
#include "kit/Pipe.h"
#include "kit/TemporaryDirectory.h"
#include "linux_desktop/process/SingleInstance.h"

namespace lightpen {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class DriverProgramTest : public testing::Test {
protected:
    // Runs it to its end, without a display; its exit status.
    int run(const std::string& option, const std::string& qtPlatform = "nothing") {
        ChildProcess program({LIGHTPEN_APPLICATION "/LightPenNX7", option},
                             {.environment = {{"QT_QPA_PLATFORM", qtPlatform},
                                              {"XDG_CONFIG_HOME", folder.path()},
                                              {"XDG_RUNTIME_DIR", folder.path()},
                                              {"DISPLAY", ""},
                                              {"WAYLAND_DISPLAY", ""}},
                              .output = said.writeEnd()});
        return program.wait();
    }

    const TemporaryDirectory folder;
    Pipe said;
};

TEST_F(DriverProgramTest, AnUnknownOptionIsRefusedByName) {
    EXPECT_EQ(run("--colour"), 2);
    EXPECT_TRUE(
        said.readAvailable().starts_with("Unknown option: --colour\nusage: LightPenNX7 [OPTION...]\n"));
}

TEST_F(DriverProgramTest, HelpNeedsNoDisplay) {
    EXPECT_EQ(run("--help"), 0);
    EXPECT_TRUE(said.readAvailable().starts_with("usage: LightPenNX7 [OPTION...]\n"));
}

TEST_F(DriverProgramTest, ItsVersionIsTheProjects) {
    EXPECT_EQ(run("--version"), 0);
    EXPECT_EQ(said.readAvailable(), "LightPenNX7 " LIGHTPEN_PROJECT_VERSION "\n");
}

TEST_F(DriverProgramTest, ItListsTheMachineWhileAnotherRuns) {
    const SingleInstance another("LightPenNX7", folder.path());
    ASSERT_FALSE(another.runsAlready());
    EXPECT_EQ(run("--list", "offscreen"), 0);
    const std::string list = said.readAvailable();
    EXPECT_THAT(list, StartsWith("Camera units\n"));
    EXPECT_THAT(list, HasSubstr("\nPointer\n  uinput: "));
    EXPECT_THAT(list, HasSubstr("\nScreens\n"));
    EXPECT_THAT(list, HasSubstr("points; would be used: it is the desktop's primary one\n"));
    EXPECT_FALSE(std::filesystem::exists(folder.file("autostart"))) << "the application has not started";
}

TEST_F(DriverProgramTest, WithoutADisplayItListsTheRest) {
    EXPECT_EQ(run("--list", ""), 0);
    EXPECT_THAT(said.readAvailable(),
                AllOf(StartsWith("Camera units\n"), EndsWith("Screens\n  there is no display here\n")));
}

} // namespace
} // namespace lightpen
