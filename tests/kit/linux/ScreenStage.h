// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <QApplication>

#include "kit/Eventually.h"
#include "kit/Pipe.h"
#include "kit/PrivateBus.h"
#include "kit/Xvfb.h"
#include "kit/linux/Framebuffer.h"
#include "kit/linux/WindowManager.h"
#include "kit/linux/XNeighbour.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/QtApplicationSetup.h"

namespace lightpen {

// In pixels of the X screen.
struct Place {
    std::int16_t x, y;
};

// A program on a desktop of other programs, with and without a window manager, as the X server and those see
// it. The program is a process of its own: this one with other arguments, see runStage().
class ScreenStage : public testing::TestWithParam<bool> {
protected:
    static constexpr std::uint32_t kBlack = 0x000000, kWhite = 0xFFFFFF, kRed = 0xFF0000, kBlue = 0x0000FF;
    static constexpr Place kPointer{640, 333};

    ScreenStage() {
        neighbour.setRootCursor();
        neighbour.movePointer(kPointer.x, kPointer.y);
    }
    static bool managed() { return GetParam(); }
    // The window manager, and a blue window over the whole screen, which gets the keyboard focus.
    void openBackdrop() {
        if (managed())
            manager = std::make_unique<WindowManager>(server.display());
        backdrop = neighbour.openWindow({0, 0, 1000, 600, kBlue});
        ASSERT_TRUE(shows({{990, 590}, {1, 599}}, kBlue));
        neighbour.setFocus(backdrop);
        ASSERT_TRUE(eventually([&] { return neighbour.focus() == backdrop; }));
    }
    // Starts the program with these words for it, under this scale of Qt's. The screen is the server's own
    // unless said otherwise.
    void start(const std::string& kind, const std::string& screen = "screen",
               const std::string& scale = "1") {
        program = std::make_unique<ChildProcess>(
            std::vector<std::string>{"/proc/self/exe", "--stage", std::to_string(log.writeEnd()), kind,
                                     screen},
            log.writeEnd(),
            std::map<std::string, std::string>{{"DISPLAY", server.display()}, {"QT_SCALE_FACTOR", scale}});
    }
    testing::AssertionResult shows(const std::vector<Place>& places, std::uint32_t colour) {
        for (const Place& place : places)
            if (!eventually([&] { return neighbour.pixelAt(place.x, place.y) == colour; }))
                return testing::AssertionFailure() << place.x << ", " << place.y << " is " << std::hex
                                                   << neighbour.pixelAt(place.x, place.y);
        return testing::AssertionSuccess();
    }
    bool cursorIs(bool shown) {
        return eventually([&] { return framebuffer.cursorAt(kPointer.x, kPointer.y) == shown; });
    }
    bool logs(const std::string& text) {
        return eventually([&] {
            logged += log.readAvailable();
            return logged.find(text) != logged.npos;
        });
    }
    // A key is heard by the backdrop again. More than one is tried, because a window manager may put the
    // focus on a window of its own for a moment.
    void expectTheKeyboardBack() {
        EXPECT_TRUE(eventually([&] { return neighbour.keyboardIsFree(); }));
        EXPECT_TRUE(eventually([&] {
            neighbour.takeKeys();
            neighbour.pressKey(XNeighbour::kA);
            return neighbour.takeKeys() == 1;
        }));
    }

    const Framebuffer framebuffer{1000, 600};
    const Xvfb server{"1000x600", framebuffer.options()};
    XNeighbour neighbour{server.display()};
    std::unique_ptr<WindowManager> manager;
    xcb_window_t backdrop = 0;
    Pipe log;
    std::string logged;
    std::unique_ptr<ChildProcess> program;
};

// The main of such tests. Where start() has started it, it is the program: the function is called with the
// platform and the words for it, and leaves by exitProcess. The application's folder is the test's own unless
// named.
inline int runStage(int argc, char** argv,
                    void (*program)(LinuxPlatform&, const std::string& kind, const std::string& screen),
                    const std::filesystem::path& applicationFolder = {}) {
    const NoBus none;
    none.enter();
    setenv("QT_QPA_PLATFORM", "xcb", 1); // NOLINT(concurrency-mt-unsafe): before there are threads
    if (argc != 5 || std::string_view(argv[1]) != "--stage") {
        testing::InitGoogleTest(&argc, argv);
        return RUN_ALL_TESTS();
    }
    const std::string kind = argv[3], screen = argv[4];
    setUpQtMessages();
    const QApplication application(argc, argv);
    setUpQtApplication();
    LinuxPlatformSettings settings;
    settings.units = Units::ofTheProgram;
    settings.pointer = PointerChoice::xtest;
    settings.settingsFile = "/dev/null";
    if (!applicationFolder.empty())
        settings.applicationFolder = applicationFolder;
    settings.log.diagnostics = std::stoi(argv[2]);
    LinuxPlatform& platform = *new LinuxPlatform(settings); // as in a program that leaves by exitProcess
    Platform::setCurrent(&platform.platform());
    program(platform, kind, screen);
    return 1;
}

} // namespace lightpen
