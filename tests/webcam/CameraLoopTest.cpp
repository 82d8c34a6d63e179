// SPDX-License-Identifier: MIT
// The thread that has the camera, with a camera of the test's own. Its thread is a real one; the time, the
// camera's, moves with each picture.
#include "webcam/CameraLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <mutex>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"
#include "kit/TestPlatform.h"
#include "kit/webcam/FakeCamera.h"
#include "linux_desktop/files/XdgDataFiles.h"

namespace lightpen::webcam {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::Contains;
using testing::HasSubstr;

constexpr std::uint8_t kGrey = 40;

// Nodes whose camera is pulled and put in by another thread than the one that has it open.
class PulledVideo final : public VideoDevices {
public:
    explicit PulledVideo(FakeCamera& camera) : camera_(camera) {}
    OpenedVideo open(const std::string& node) override {
        camera_.gone = pulled;
        camera_.openError = openError;
        camera_.busy = busy;
        return video.open(node);
    }

    FakeVideo video;
    std::atomic<bool> pulled{false};
    std::atomic<bool> busy{false};
    std::atomic<int> openError{0};

private:
    FakeCamera& camera_;
};

class CameraLoopTest : public testing::Test {
protected:
    CameraLoopTest() {
        video.video.nodes[node] = &camera;
        camera.modes = {{V4L2_PIX_FMT_GREY, 640, 480, {{1, 60}}}};
        camera.addExposure();
        camera.onWait = [this] { live(); };
        camera.answer = [this](unsigned long code, void*) {
            camera.gone = pulled;
            streamed = streamed || code == VIDIOC_STREAMON;
            if (code == VIDIOC_STREAMON || code == VIDIOC_STREAMOFF)
                streams = code == VIDIOC_STREAMON;
            return std::optional<int>();
        };
        plugCameraIn();
    }
    ~CameraLoopTest() override {
        loop.end();
        bus.stopRealTime();
    }

    // On the thread of the loop, instead of a wait.
    void live() {
        std::this_thread::sleep_for(1ms);
        platform.clock.advanceTo(platform.clock.now() + 16'667us);
        camera.gone = pulled;
        if (!pulled && !silent)
            camera.sendGrey(kGrey);
    }
    void plugCameraIn() {
        const fs::path device = folder.path() / "devices" / "1-2";
        fs::create_directories(device);
        const fs::path entry = folder.path() / "class" / "video0";
        fs::create_directories(entry);
        fs::create_directory_symlink(device, entry / "device");
        writeFile(entry / "name", "Test Camera\n");
        writeFile(entry / "index", "0\n");
    }
    // As udev leaves a node.
    void nodeComes() {
        fs::remove(folder.file("dev/video0"));
        writeFile(folder.file("dev/video0"), "");
    }
    bool comesTo(CameraState state) {
        return eventually([&] {
            platform.runLoop.runPending();
            return loop.state() == state;
        });
    }
    // The camera is switched off while it answers for this many-th time who it is; then what follows has
    // time to follow.
    void switchOffInAnswer(int number) {
        std::atomic<int> answers{0};
        std::atomic<bool> goOn{false};
        camera.answer = [&, before = camera.answer](unsigned long code, void* argument) {
            if (code == VIDIOC_QUERYCAP && ++answers == number)
                eventually([&] { return goOn.load(); });
            return before(code, argument);
        };
        loop.start(true);
        EXPECT_TRUE(eventually([&] { return answers == number; }));
        loop.switchOn(false);
        goOn = true;
        std::this_thread::sleep_for(50ms);
        EXPECT_TRUE(comesTo(CameraState::off));
        loop.end();
        camera.answer = nullptr;
    }
    bool unitComes(bool there, std::chrono::milliseconds patience = 10s) {
        const auto came = [&] {
            platform.runLoop.runPending();
            io_iterator_t iterator = 0;
            platform.registry.IOServiceGetMatchingServices(1, IOServiceMatching("IOUSBDevice"), iterator);
            const io_object_t service = platform.registry.IOIteratorNext(iterator);
            if (service)
                platform.registry.IOObjectRelease(service);
            platform.registry.IOObjectRelease(iterator);
            return (service != 0) == there;
        };
        return eventually(came, patience);
    }

    // With the folder that is watched.
    struct Machine : TemporaryDirectory {
        Machine() { fs::create_directories(file("dev")); }
    };

    RecordingLog log;
    Machine folder;
    const std::string node = folder.file("dev/video0");
    TestPlatform platform;
    FakeCamera camera{platform.clock};
    PulledVideo video{camera};
    std::atomic<bool>& pulled = video.pulled;
    std::atomic<bool> silent{false};
    std::atomic<bool> streamed{false}, streams{false};
    XdgDataFiles files{folder.file("data"), ""};
    const ControlsFile controls{files, folder.file("data")};
    const CameraMemory memory{files, folder.file("data")};
    EmulatedBus bus{platform.registry, platform.runLoop, platform.clock};
    int changes = 0;
    CameraLoop loop{{video,
                     controls,
                     memory,
                     bus,
                     platform.runLoop,
                     platform.clock,
                     {folder.file("class"), folder.file("dev")}},
                    "",
                    [this] { ++changes; }};
};

TEST_F(CameraLoopTest, ACameraThatIsWantedLooksAndIsAUnit) {
    loop.start(true);
    EXPECT_TRUE(comesTo(CameraState::looking));
    EXPECT_TRUE(unitComes(true));
    EXPECT_GT(changes, 0);
    EXPECT_THAT(log.lines(), Contains(HasSubstr("the unit of " + node + " is plugged in")));
}

TEST_F(CameraLoopTest, ACameraThatIsNotWantedTakesNoPicture) {
    loop.start(false);
    std::this_thread::sleep_for(20ms);
    platform.runLoop.runPending();
    loop.end();
    EXPECT_EQ(loop.state(), CameraState::off);
    EXPECT_FALSE(streamed);
    EXPECT_TRUE(camera.settings.empty());
}

TEST_F(CameraLoopTest, TheUserSwitchesItOffAndOn) {
    loop.start(true);
    ASSERT_TRUE(unitComes(true));
    EXPECT_TRUE(streams);
    loop.switchOn(false);
    EXPECT_TRUE(comesTo(CameraState::off));
    EXPECT_TRUE(unitComes(false));
    EXPECT_FALSE(streams) << "not behind its unit";
    EXPECT_FALSE(loop.switchedOn());
    loop.switchOn(true);
    EXPECT_TRUE(unitComes(true));
    EXPECT_TRUE(streams);
    loop.switchOn(false);
    ASSERT_TRUE(comesTo(CameraState::off));
    loop.end();
    EXPECT_FALSE(camera.streaming);
    EXPECT_EQ(camera.value(V4L2_CID_EXPOSURE_AUTO), 3) << "it is left as it was found";
}

TEST_F(CameraLoopTest, NothingLooksWhileSomebodyElseIsAtTheMachine) {
    loop.start(true);
    ASSERT_TRUE(unitComes(true));
    loop.allow(false);
    EXPECT_TRUE(comesTo(CameraState::off));
    EXPECT_TRUE(unitComes(false));
    EXPECT_TRUE(loop.switchedOn());
    loop.allow(true);
    EXPECT_TRUE(unitComes(true));
}

TEST_F(CameraLoopTest, ACameraThatIsPulledTakesItsUnitAndComesBack) {
    loop.start(true);
    ASSERT_TRUE(unitComes(true));
    pulled = true;
    EXPECT_TRUE(unitComes(false));
    pulled = false;
    nodeComes();
    EXPECT_TRUE(unitComes(true));
}

TEST_F(CameraLoopTest, ACameraWhoseExposureIsItsOwnLooksAndIsToldOf) {
    camera.controls.clear();
    loop.start(true);
    EXPECT_TRUE(unitComes(true));
    EXPECT_EQ(loop.state(), CameraState::lookingAsItLikes);
    EXPECT_THAT(log.lines(),
                Contains("Camera: " + node +
                         " has no exposure that can be set; where it is bright the pen may not be seen"));
}

TEST_F(CameraLoopTest, ABusyCameraIsToldOfAndComesBackByItself) {
    video.busy = true;
    loop.start(true);
    EXPECT_TRUE(comesTo(CameraState::busy));
    EXPECT_TRUE(unitComes(false));
    EXPECT_THAT(log.lines(), Contains("Webcam: " + node + " is used by another program"));
    video.busy = false;
    EXPECT_TRUE(unitComes(true));
}

TEST_F(CameraLoopTest, ACameraThatMayNotBeOpenedIsToldOfAndComesWhenItMay) {
    video.openError = EACCES;
    loop.start(true);
    EXPECT_TRUE(comesTo(CameraState::notPermitted));
    EXPECT_THAT(log.lines(),
                Contains("Webcam: " + node + " may not be opened by this user (the group \"video\" may)"));
    video.openError = 0;
    nodeComes();
    EXPECT_TRUE(unitComes(true));
}

TEST_F(CameraLoopTest, ACameraThatSendsNothingIsToldOfAndComesBackByItself) {
    silent = true;
    loop.start(true);
    EXPECT_TRUE(comesTo(CameraState::unusable));
    EXPECT_TRUE(unitComes(false));
    EXPECT_THAT(log.lines(), Contains("Camera: " + node + " has sent no whole picture for three seconds"));
    // Another try changes nothing that the user sees.
    constexpr int kTold = 2; // that it looks, and that it cannot be used
    EXPECT_TRUE(eventually([&] {
        platform.runLoop.runPending();
        return changes == kTold;
    }));
    streamed = false;
    nodeComes();
    EXPECT_TRUE(eventually([&] {
        platform.runLoop.runPending();
        return streamed && !streams;
    }));
    EXPECT_EQ(changes, kTold);
    EXPECT_EQ(loop.state(), CameraState::unusable);
    silent = false;
    EXPECT_TRUE(unitComes(true, 20s));
    EXPECT_EQ(loop.state(), CameraState::looking);
}

TEST_F(CameraLoopTest, ACameraThatIsSwitchedOffWhileItIsLookedForIsNotOpened) {
    switchOffInAnswer(2); // behind that for what a program before has left
    EXPECT_FALSE(streamed);
    EXPECT_TRUE(camera.settings.empty());
}

TEST_F(CameraLoopTest, ACameraThatIsSwitchedOffWhileItIsOpenedIsLeftAsItWas) {
    switchOffInAnswer(3);
    EXPECT_FALSE(camera.streaming);
    EXPECT_EQ(camera.value(V4L2_CID_EXPOSURE_AUTO), 3);
    EXPECT_EQ(camera.value(V4L2_CID_GAIN), 64);
    EXPECT_TRUE(unitComes(false));
}

TEST_F(CameraLoopTest, AMachineWithoutOneSaysSoOnce) {
    fs::remove_all(folder.file("class/video0"));
    loop.start(true);
    EXPECT_TRUE(comesTo(CameraState::absent));
    EXPECT_TRUE(unitComes(false));
    nodeComes();
    nodeComes();
    std::this_thread::sleep_for(20ms);
    loop.end();
    const auto lines = log.lines();
    EXPECT_EQ(std::ranges::count(lines, "Webcam: there is no camera"), 1);
}

TEST_F(CameraLoopTest, TheUnitsSettingsReachTheCamera) {
    loop.start(true);
    ASSERT_TRUE(unitComes(true));
    loop.end();
    EXPECT_THAT(camera.settings,
                Contains(std::pair<std::uint32_t, std::int32_t>(V4L2_CID_EXPOSURE_ABSOLUTE, 23)));
}

TEST_F(CameraLoopTest, WhatAProgramBeforeHasLeftIsPutBackAlsoWithoutLooking) {
    const std::string identity =
        listCameras(video, {folder.file("class"), folder.file("dev")}).at(0).identity;
    controls.keep(identity, {{V4L2_CID_EXPOSURE_AUTO, 3}});
    camera.controls[V4L2_CID_EXPOSURE_AUTO].value = V4L2_EXPOSURE_MANUAL;
    loop.start(false);
    EXPECT_TRUE(eventually([&] { return controls.left(identity).empty(); }));
    loop.end();
    EXPECT_EQ(camera.value(V4L2_CID_EXPOSURE_AUTO), 3);
    EXPECT_FALSE(streamed);
}

TEST_F(CameraLoopTest, WhatTheUnitKeepsIsThereAtTheNextStart) {
    const auto list = listCameras(video, {folder.file("class"), folder.file("dev")});
    loop.start(true);
    ASSERT_TRUE(unitComes(true));
    io_iterator_t iterator = 0;
    platform.registry.IOServiceGetMatchingServices(1, IOServiceMatching("IOHIDDevice"), iterator);
    IOCFPlugInInterface plugIn;
    const io_object_t service = platform.registry.IOIteratorNext(iterator);
    platform.registry.IOCreatePlugInInterfaceForService(service, plugIn);
    const auto device = plugIn();
    ASSERT_TRUE(device);
    device->open(0);
    for (const std::uint8_t record : {std::uint8_t{0}, std::uint8_t{1}}) {
        const std::array<std::uint8_t, 32> command{'C', record, 10, 1, 20, 1, 30, 1, 40, 1};
        EXPECT_EQ(device->setReport(IOHIDReportType::output, 0, command, 100), kIOReturnSuccess);
    }
    EXPECT_TRUE(eventually([&] {
        platform.runLoop.runPending();
        return memory.load(list.at(0).identity).flash.calibrated();
    }));
    platform.registry.IOObjectRelease(service);
    platform.registry.IOObjectRelease(iterator);
}

} // namespace
} // namespace lightpen::webcam
