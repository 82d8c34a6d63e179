// SPDX-License-Identifier: MIT
// The whole program, from outside: its window, its commands and what its pen does to the pointer.
#include <gtest/gtest.h>

#include "emulated/ScreenCapture.h"
#include "kit/ChildProcess.h"
#include "kit/Eventually.h"
#include "kit/TemporaryDirectory.h"
#include "kit/Xvfb.h"
#include "kit/device/OffscreenApplication.h"
#include "measure/desktop/ApplicationProcess.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

class EmulatedProgramTest : public testing::Test {
protected:
    void start(std::vector<std::string> options) {
        options.insert(options.begin(), {"--commands", "--xtest"});
        ASSERT_EQ(program.start(options, {{"DISPLAY", server.display()},
                                          {"QT_QPA_PLATFORM", "xcb"},
                                          {"XDG_CONFIG_HOME", folder.file("config")},
                                          {"XDG_DATA_HOME", folder.file("data")},
                                          {"XDG_STATE_HOME", folder.file("state")},
                                          {"XDG_RUNTIME_DIR", folder.path().string()},
                                          {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"},
                                          {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere"}}),
                  "");
    }
    // Whether its state comes to hold these words.
    bool reaches(const std::string& words) {
        return comesTrue([&] { return program.isIn(words); });
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

    const bool application = ensureOffscreenApplication();
    TemporaryDirectory folder;
    Xvfb server{"1024x700"};
    std::string problem;
    std::unique_ptr<ScreenCapture> eyes = ScreenCapture::create(server.display().c_str(), problem);
    ApplicationProcess program{LIGHTPEN_EMULATED};
};

TEST_F(EmulatedProgramTest, ThePenOfACalibratedUnitMovesThePointer) {
    start({"--plugged", "--calibrated"});
    ASSERT_TRUE(reaches("ready=yes"));
    EXPECT_TRUE(eventually([&] { return somethingIsShown(); }));
    EXPECT_EQ(program.ask("tap 31 660"), "ok");
    EXPECT_TRUE(pointerComesTo({31, 660}));
    EXPECT_EQ(program.ask("wait"), "ok");
    EXPECT_EQ(program.ask("unplug"), "ok");
    EXPECT_TRUE(reaches("connected=no ready=no"));
    EXPECT_EQ(program.ask("plug"), "ok");
    EXPECT_TRUE(reaches("ready=yes"));
    EXPECT_EQ(program.ask("drag 990 20 980 640"), "ok");
    EXPECT_TRUE(pointerComesTo({980, 640}));
    EXPECT_EQ(program.ask("quit"), "ok");
    EXPECT_EQ(program.waitForEnd(), 0);
}

TEST_F(EmulatedProgramTest, TheEndOfItsInputEndsIt) {
    start({"--pose", "rotated", "--wireless", "0"});
    EXPECT_EQ(program.ask("flash"), "ok empty");
    program.endInput();
    EXPECT_EQ(program.waitForEnd(), 0);
}

TEST_F(EmulatedProgramTest, TheLogFileHasWhatStandardErrorHasNot) {
    start({"--plugged", "--calibrated", "--log", "file"});
    ASSERT_TRUE(reaches("ready=yes"));
    EXPECT_EQ(program.ask("tap 31 660"), "ok");
    EXPECT_TRUE(pointerComesTo({31, 660}));
    EXPECT_EQ(program.ask("quit"), "ok");
    EXPECT_EQ(program.waitForEnd(), 0);
    EXPECT_EQ(program.log().find(" n:"), std::string::npos) << program.log();
    EXPECT_NE(program.log().find("Pointer: events go through XTest\n"), std::string::npos);
    const std::string file = readFile(folder.file("state/LightPenNX7-emulated/log"));
    EXPECT_NE(file.find("Pointer: events go through XTest\n"), std::string::npos);
    EXPECT_NE(file.find("\nKVR n:"), std::string::npos);
    EXPECT_NE(file.find("Event n:546 "), std::string::npos) << "what is printed";
}

TEST_F(EmulatedProgramTest, UnknownOptionsAreRefused) {
    EXPECT_EQ(runProgram({LIGHTPEN_EMULATED, "--colour"}), 2);
    EXPECT_EQ(runProgram({LIGHTPEN_EMULATED, "--help"}), 0);
}

} // namespace
} // namespace lightpen
