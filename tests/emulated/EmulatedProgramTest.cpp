// SPDX-License-Identifier: MIT
// The whole program, from outside: its window, its commands and what its pen does to the pointer.
#include "kit/EmulatedProgram.h"

#include <signal.h>

#include <gtest/gtest.h>

#include "emulated/ScreenCapture.h"
#include "kit/Eventually.h"
#include "kit/PrivateBus.h"
#include "kit/TemporaryDirectory.h"
#include "kit/Xvfb.h"

namespace lightpen {
namespace {

class EmulatedProgramTest : public testing::Test {
protected:
    std::unique_ptr<EmulatedProgram> start(const std::vector<std::string>& options) {
        return std::make_unique<EmulatedProgram>(
            LIGHTPEN_EMULATED, options,
            std::map<std::string, std::string>{{"DISPLAY", server.display()},
                                               {"XDG_CONFIG_HOME", folder.file("config")},
                                               {"XDG_DATA_HOME", folder.file("data")},
                                               {"XDG_RUNTIME_DIR", folder.path().string()},
                                               {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"},
                                               {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere"}});
    }
    bool pointerComesTo(ScreenPoint place) {
        return eventually([&] {
            const auto pointer = eyes->pointer();
            return pointer && std::abs(pointer->x - place.x) <= 2 && std::abs(pointer->y - place.y) <= 2;
        });
    }
    // Whether anything but black is on the screen.
    bool somethingIsShown() {
        const auto picture = eyes->look();
        return picture && std::any_of(picture->bytes.begin(), picture->bytes.end(),
                                      [](std::uint8_t byte) { return byte > 0x80 && byte < 0xFF; });
    }

    TemporaryDirectory folder;
    Xvfb server{"1024x700"};
    std::string problem;
    std::unique_ptr<ScreenCapture> eyes = ScreenCapture::create(server.display().c_str(), problem);
};

TEST_F(EmulatedProgramTest, ThePenOfACalibratedUnitMovesThePointer) {
    const auto program = start({"--plugged", "--calibrated"});
    ASSERT_TRUE(program->reaches("ready=yes"));
    EXPECT_TRUE(eventually([&] { return somethingIsShown(); }));
    EXPECT_EQ(program->ask("tap 31 660"), "ok");
    EXPECT_TRUE(pointerComesTo({31, 660}));
    EXPECT_EQ(program->ask("wait"), "ok");
    EXPECT_EQ(program->ask("unplug"), "ok");
    EXPECT_TRUE(program->reaches("connected=no ready=no"));
    EXPECT_EQ(program->ask("plug"), "ok");
    EXPECT_TRUE(program->reaches("ready=yes"));
    EXPECT_EQ(program->ask("drag 990 20 980 640"), "ok");
    EXPECT_TRUE(pointerComesTo({980, 640}));
    EXPECT_EQ(program->ask("quit"), "ok");
    EXPECT_EQ(program->wait(), 0);
}

TEST_F(EmulatedProgramTest, TheEndOfItsInputEndsIt) {
    const auto program = start({"--pose", "rotated", "--wireless", "0"});
    EXPECT_EQ(program->ask("flash"), "ok empty");
    program->endInput();
    EXPECT_EQ(program->wait(), 0);
}

TEST_F(EmulatedProgramTest, SigtermEndsItInOrder) {
    const auto program = start({});
    ASSERT_EQ(program->ask("flash"), "ok empty");
    program->process().send(SIGTERM);
    EXPECT_EQ(program->wait(), 0);
}

TEST_F(EmulatedProgramTest, UnknownOptionsAreRefused) {
    EXPECT_EQ(runProgram({LIGHTPEN_EMULATED, "--colour"}), 2);
    EXPECT_EQ(runProgram({LIGHTPEN_EMULATED, "--help"}), 0);
}

} // namespace
} // namespace lightpen
