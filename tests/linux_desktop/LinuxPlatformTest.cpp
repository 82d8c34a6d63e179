// SPDX-License-Identifier: MIT
#include "linux_desktop/LinuxPlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include <QApplication>
#include <QWindow>

#include "kit/ChildProcess.h"
#include "kit/Pipe.h"
#include "kit/PrivateBus.h"
#include "kit/TemporaryDirectory.h"
#include "kit/Xvfb.h"
#include "kit/linux/PointerObserver.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

// The connection to the "IOHIDSystem" service, opened the way a driver does it.
io_connect_t openEventSystem(Platform& platform) {
    mach_port_t port = 0;
    EXPECT_EQ(platform.registry.IOMasterPort(port), kIOReturnSuccess);
    const io_service_t service =
        platform.registry.IOServiceGetMatchingService(port, IOServiceMatching("IOHIDSystem"));
    EXPECT_NE(service, 0u);
    io_connect_t connection = 0;
    platform.pointer.IOServiceOpen(service, kIOHIDParamConnectType, connection);
    platform.registry.IOObjectRelease(service);
    return connection;
}

void post(Platform& platform, std::uint32_t type, IOGPoint location) {
    EXPECT_EQ(platform.pointer.IOHIDPostEvent(openEventSystem(platform), type, location, {},
                                              kNXEventDataVersion, 0, kIOHIDSetCursorPosition),
              kIOReturnSuccess);
}

class LinuxPlatformTest : public testing::Test {
protected:
    LinuxPlatformSettings settings() const {
        LinuxPlatformSettings result;
        result.units = Units::ofTheProgram;
        result.pointer = PointerChoice::xtest;
        result.settingsFile = directory.file("settings.ini");
        result.userFiles = directory.file("user");
        result.shippedFiles = directory.file("shipped");
        result.loginFolder = directory.file("autostart");
        result.systemLoginFolders.clear();
        result.log.patience = 60s; // on a busy machine the writer may be late
        return result;
    }

    const TemporaryDirectory directory;
    PointerObserver observer{std::getenv("DISPLAY")};
};
using LinuxPlatformDeathTest = LinuxPlatformTest;

TEST_F(LinuxPlatformTest, DataFilesComeFromTheFoldersOfTheSettings) {
    std::filesystem::create_directory(directory.file("shipped"));
    writeFile(directory.file("shipped/table.bin"), "abc");
    LinuxPlatform platform(settings());
    const DataFiles& files = platform.platform().dataFiles;
    EXPECT_FALSE(files.locate("another.bin"));
    const auto paths = files.locate("table.bin");
    ASSERT_TRUE(paths);
    EXPECT_EQ(paths->toRead, directory.file("shipped/table.bin"));
    EXPECT_EQ(paths->toWrite, directory.file("user/table.bin"));
}

TEST_F(LinuxPlatformTest, LoginItemsLieInTheFolderOfTheSettings) {
    LinuxPlatform platform(settings());
    LoginItems& items = platform.platform().shell.loginItems;
    items.setValue({{"/opt/LightPenNX7", false, {}}});
    EXPECT_TRUE(items.synchronize());
    EXPECT_TRUE(std::filesystem::exists(directory.file("autostart/org.lightpen.LightPenNX7.desktop")));
}

TEST_F(LinuxPlatformTest, LetsGoOfButtonsAndWritesTheLogOutAtItsEnd) {
    Pipe log;
    auto lazy = settings();
    lazy.log.diagnostics = log.writeEnd();
    lazy.log.gathering = 1h; // nothing is written but by the end
    {
        LinuxPlatform platform(lazy);
        post(platform.platform(), kRightMouseDown, {50, 60});
        EXPECT_TRUE(observer.becomes({50, 60, false, true}));
        logLine("Event n:1 last");
    }
    EXPECT_TRUE(observer.becomes({50, 60, false, false}));
    EXPECT_EQ(log.readAvailable(), "Pointer: events go through XTest\nEvent n:1 last\n");
}

TEST_F(LinuxPlatformTest, KnowsTheMainScreen) {
    LinuxPlatform platform(settings());
    EXPECT_EQ(platform.platform().desktop.mainScreenFrame(), (ScreenRect{{0, 0}, {800, 500}}));
    EXPECT_NE(platform.desktop().mainScreen(), nullptr);
}

// What follows until the pen is lifted only moves the pointer: in the new picture the stroke has no place.
TEST_F(LinuxPlatformTest, AStrokeEndsWhereItWasWhenThePictureChanges) {
    auto chosen = settings();
    chosen.screen = "right";
    LinuxPlatform platform(chosen);
    std::vector<std::optional<ScreenRect>> frames;
    platform.platform().notifications.addObserver(this, kScreensDidChange, nullptr, [&](const Notification&) {
        frames.push_back(platform.platform().desktop.mainScreenFrame());
    });
    post(platform.platform(), kLeftMouseDown, {50, 60});
    EXPECT_TRUE(observer.becomes({50, 60, true, false}));
    ASSERT_EQ(runProgram({"xrandr", "--setmonitor", "left", "300/79x500/132+0+0", "screen"}), 0);
    ASSERT_EQ(runProgram({"xrandr", "--setmonitor", "right", "500/132x400/106+300+100", "none"}), 0);
    EXPECT_TRUE(comesTrue([&] {
        return !frames.empty() && frames.back() == ScreenRect{{0, 0}, {500, 400}};
    }));
    EXPECT_TRUE(observer.becomes({50, 60, false, false}));
    post(platform.platform(), kLeftMouseDragged, {70, 80});
    EXPECT_TRUE(observer.becomes({370, 180, false, false}));
    post(platform.platform(), kLeftMouseUp, {70, 80});
    post(platform.platform(), kLeftMouseDown, {71, 82});
    EXPECT_TRUE(observer.becomes({371, 182, true, false}));
    for (const char* name : {"left", "right"})
        runProgram({"xrandr", "--delmonitor", name});
    EXPECT_TRUE(comesTrue([&] { return frames.back() == ScreenRect{{0, 0}, {800, 500}}; }));
    platform.platform().notifications.removeObserver(this);
}

TEST_F(LinuxPlatformTest, AScreenThatIsChosenMeanwhileCountsAtOnce) {
    ASSERT_EQ(runProgram({"xrandr", "--setmonitor", "left", "300/79x500/132+0+0", "screen"}), 0);
    ASSERT_EQ(runProgram({"xrandr", "--setmonitor", "right", "500/132x400/106+300+100", "none"}), 0);
    {
        LinuxPlatform platform(settings());
        ASSERT_TRUE(comesTrue([&] { return platform.platform().desktop.screens().size() == 2; }));
        platform.platform().defaults.setObject(kMainScreenKey, std::string("right"));
        platform.platform().notifications.post({std::string(kMainScreenWasChosen)});
        EXPECT_EQ(platform.platform().desktop.mainScreenFrame(), (ScreenRect{{0, 0}, {500, 400}}));
        platform.platform().defaults.setObject(kMainScreenKey, std::string("left"));
        platform.platform().notifications.post({std::string(kMainScreenWasChosen)});
        EXPECT_EQ(platform.platform().desktop.mainScreenFrame(), (ScreenRect{{0, 0}, {300, 500}}));
    }
    for (const char* name : {"left", "right"})
        runProgram({"xrandr", "--delmonitor", name});
    EXPECT_TRUE(comesTrue([] { return QGuiApplication::screens().size() == 1; }));
}

TEST_F(LinuxPlatformTest, TheUserChoosesThePointerUnlessTheProgramDoes) {
    auto chosen = settings();
    writeFile(chosen.settingsFile, "[General]\nPointer=xtest\n");
    chosen.pointer = PointerChoice::automatic;
    Pipe log;
    chosen.log.diagnostics = log.writeEnd();
    {
        const LinuxPlatform platform(chosen);
        EXPECT_EQ(platform.pointerInUse(), "XTest");
    }
    EXPECT_EQ(log.readAvailable(), "Pointer: events go through XTest\n");

    writeFile(chosen.settingsFile, "[General]\nPointer=uinput\n");
    chosen.pointer = PointerChoice::xtest;
    { LinuxPlatform platform(chosen); }
    EXPECT_EQ(log.readAvailable(), "Pointer: events go through XTest\n");
}

TEST_F(LinuxPlatformTest, TheUserChoosesWhereTheLogGoesUnlessTheProgramDoes) {
    Pipe log;
    auto chosen = settings();
    chosen.log.diagnostics = log.writeEnd();
    chosen.log.folder = directory.file("log");
    std::string file; // where the platform says that it is
    const auto logged = [&](LogChoice asked, const char* setting) {
        chosen.log.choice = asked;
        // Qt does not see that a file has changed within a tick of the clock.
        chosen.settingsFile += "x";
        writeFile(chosen.settingsFile, std::string("[General]\nLog=") + setting + "\n");
        std::filesystem::remove_all(chosen.log.folder);
        {
            LinuxPlatform platform(chosen);
            logLine("Event n:1 number");
            file = platform.log().file();
        }
        return std::pair(log.readAvailable(), readFile(directory.file("log/log")));
    };
    const std::string own = "Pointer: events go through XTest\n";
    const std::string all = own + "Event n:1 number\n";
    EXPECT_EQ(logged(LogChoice::automatic, "stderr"), std::pair(all, std::string()));
    EXPECT_EQ(file, "");
    EXPECT_EQ(logged(LogChoice::automatic, "file"), std::pair(own, all));
    EXPECT_EQ(file, directory.file("log/log"));
    EXPECT_EQ(logged(LogChoice::automatic, "none"), std::pair(std::string(), std::string()));
    for (const char* unknown : {"", "true", "3", "journal"})
        EXPECT_EQ(logged(LogChoice::automatic, unknown), std::pair(own, all)) << unknown;
    EXPECT_EQ(logged(LogChoice::file, "none"), std::pair(own, all));
    EXPECT_EQ(logged(LogChoice::standardError, "file"), std::pair(all, std::string()));
    EXPECT_EQ(logged(LogChoice::none, "stderr"), std::pair(std::string(), std::string()));
}

TEST_F(LinuxPlatformTest, WhatIsWrongWithTheSettingsIsLoggedFirst) {
    Pipe log;
    auto damaged = settings();
    damaged.log.diagnostics = log.writeEnd();
    damaged.log.choice = LogChoice::file;
    damaged.log.folder = directory.file("log");
    writeFile(damaged.settingsFile, "no setting at all\n");
    { LinuxPlatform platform(damaged); }
    const std::string lines = "Settings: " + damaged.settingsFile +
                              " is damaged; the defaults hold, and it is kept as " + damaged.settingsFile +
                              ".damaged\nPointer: events go through XTest\n";
    EXPECT_EQ(log.readAvailable(), lines);
    EXPECT_EQ(readFile(directory.file("log/log")), lines);
}

TEST_F(LinuxPlatformTest, RunsUntilItIsToEnd) {
    LinuxPlatform platform(settings());
    platform.platform().runLoop.performAfterDelay(
        {this, "end", {}, [&] { platform.platform().runLoop.terminate(6); }}, 1ms);
    EXPECT_EQ(platform.run(), 6);
}

TEST_F(LinuxPlatformTest, LooksForUnitsOfTheMachine) {
    auto machine = settings();
    machine.units = Units::ofTheMachine;
    LinuxPlatform platform(machine);
    platform.platform().runLoop.runFor(0us);
    EXPECT_NE(openEventSystem(platform.platform()), 0u);
}

TEST(LinuxPlatformSettingsTest, LieWhereTheEnvironmentSays) {
    const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "/";
    setenv("XDG_CONFIG_HOME", "/somewhere/else", 1);
    EXPECT_EQ(LinuxPlatformSettings().settingsFile, "/somewhere/else/LightPenNX7/settings.ini");
    EXPECT_EQ(LinuxPlatformSettings().loginFolder, "/somewhere/else/autostart");
    setenv("XDG_CONFIG_DIRS", "/first/dirs:/second", 1);
    EXPECT_EQ(LinuxPlatformSettings().systemLoginFolders,
              (std::vector<std::string>{"/first/dirs/autostart", "/second/autostart"}));
    setenv("XDG_DATA_HOME", "/some/data", 1);
    EXPECT_EQ(LinuxPlatformSettings().userFiles, "/some/data/LightPenNX7");
    EXPECT_EQ(LinuxPlatformSettings("another").settingsFile, "/somewhere/else/another/settings.ini");
    EXPECT_EQ(LinuxPlatformSettings("another").userFiles, "/some/data/another");
    setenv("XDG_STATE_HOME", "/some/state", 1);
    EXPECT_EQ(LinuxPlatformSettings("another").log.folder, "/some/state/another");
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "XDG_DATA_HOME", "XDG_STATE_HOME"})
        unsetenv(name);
    setenv("HOME", "/home/pen", 1);
    EXPECT_EQ(LinuxPlatformSettings().settingsFile, "/home/pen/.config/LightPenNX7/settings.ini");
    EXPECT_EQ(LinuxPlatformSettings().loginFolder, "/home/pen/.config/autostart");
    EXPECT_EQ(LinuxPlatformSettings().systemLoginFolders, std::vector<std::string>{"/etc/xdg/autostart"});
    EXPECT_EQ(LinuxPlatformSettings().userFiles, "/home/pen/.local/share/LightPenNX7");
    EXPECT_EQ(LinuxPlatformSettings().log.folder, "/home/pen/.local/state/LightPenNX7");
    setenv("XDG_STATE_HOME", "relative", 1);
    EXPECT_EQ(LinuxPlatformSettings().log.folder, "/home/pen/.local/state/LightPenNX7");
    unsetenv("XDG_STATE_HOME");
    setenv("HOME", home.c_str(), 1);
}

// What each of these does in a process of its own, with a button down, a line in the log and a thread that
// runs.
class Busy {
public:
    // Like a local variable of main, it is never destroyed by exit().
    static Busy& begin(const LinuxPlatformSettings& settings) { return *new Busy(settings); }
    LinuxPlatform platform;

private:
    explicit Busy(const LinuxPlatformSettings& settings) : platform(settings) {
        post(platform.platform(), kLeftMouseDown, {70, 80});
        platform.platform().threads.detachNewThread([this] {
            for (;;)
                platform.platform().desktop.mainScreenFrame();
        });
        logLine("Event n:2 still in memory");
    }
};

TEST_F(LinuxPlatformDeathTest, ExitProcessLeavesFromAnyThread) {
    EXPECT_EXIT(
        {
            Busy& busy = Busy::begin(settings());
            std::thread([&] { busy.platform.platform().runLoop.exitProcess(4); }).join();
        },
        testing::ExitedWithCode(4), "Event n:2 still in memory");
    EXPECT_TRUE(observer.becomes({70, 80, false, false}));
}

TEST_F(LinuxPlatformDeathTest, AnyExitLeavesInOrder) {
    EXPECT_EXIT(
        {
            Busy::begin(settings());
            std::exit(5);
        },
        testing::ExitedWithCode(5), "Event n:2 still in memory");
    EXPECT_TRUE(observer.becomes({70, 80, false, false}));
}

TEST_F(LinuxPlatformDeathTest, ASignalEndsANestedWait) {
    EXPECT_EXIT(
        {
            Busy& busy = Busy::begin(settings());
            RunLoop& loop = busy.platform.platform().runLoop;
            loop.performOnMainThread({this, "wait", {}, [&] {
                                          kill(getpid(), SIGTERM);
                                          loop.runFor(1h);
                                          logLine("Event n:3 the wait has ended");
                                      }});
            loop.exitProcess(busy.platform.run());
        },
        testing::ExitedWithCode(0), "Event n:2 still in memory\nEvent n:3 the wait has ended");
    EXPECT_TRUE(observer.becomes({70, 80, false, false}));
}

TEST_F(LinuxPlatformDeathTest, ADisplayThatGoesAwayEndsTheProgramWithItsLog) {
    EXPECT_EXIT(
        {
            Busy& busy = Busy::begin(settings());
            static QWindow window;
            xcb_connection_t* other = xcb_connect(nullptr, nullptr);
            xcb_kill_client(other, static_cast<std::uint32_t>(window.winId()));
            xcb_flush(other);
            busy.platform.run();
        },
        // Xlib now and then says so too, in between.
        testing::ExitedWithCode(1), "Event n:2 still in memory\n(.*\n)?Qt: The X11 connection broke");
    EXPECT_TRUE(observer.becomes({70, 80, false, false}));
}

} // namespace
} // namespace lightpen

// The processes of the death tests use the server that the first one has started.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    std::unique_ptr<lightpen::Xvfb> server;
    if (!std::getenv("LIGHTPEN_TEST_SERVER")) {
        server = std::make_unique<lightpen::Xvfb>("800x500");
        server->enter();
        setenv("LIGHTPEN_TEST_SERVER", "1", 1);
    }
    const lightpen::NoBus none;
    none.enter();
    lightpen::setUpQtMessages();
    QApplication application(argc, argv);
    lightpen::setUpQtApplication();
    return RUN_ALL_TESTS();
}
