// SPDX-License-Identifier: MIT
// The driver program's command line, as far as it gets without the machine's units.
#include <gtest/gtest.h>

#include "kit/ChildProcess.h"
#include "kit/Pipe.h"

namespace lightpen {
namespace {

class DriverProgramTest : public testing::Test {
protected:
    // Runs it to its end, without a display; its exit status.
    int run(const std::string& option) {
        ChildProcess program({LIGHTPEN_APPLICATION "/LightPenNX7", option},
                             {.environment = {{"QT_QPA_PLATFORM", "nothing"}}, .output = said.writeEnd()});
        return program.wait();
    }

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

} // namespace
} // namespace lightpen
