// SPDX-License-Identifier: MIT
#include "kernel/room/VirtualCamera.h"

#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "kit/ChildProcess.h"
#include "kit/Eventually.h"

namespace lightpen {

namespace {

namespace fs = std::filesystem;

constexpr const char* kDriver = "/sys/bus/platform/drivers/vivid/";
constexpr const char* kDevice = "vivid.0";
constexpr const char* kCaptureName = "vivid-000-vid-cap";
constexpr const char* kOutputName = "vivid-000-vid-out";

// One device with one input and one output, which can be joined; it neither crops nor scales, so that both
// have the size of the mode.
void loadModule() {
    if (runProgram({"modprobe", "vivid", "n_devs=1", "node_types=0x0101", "num_inputs=1", "input_types=0x3",
                    "num_outputs=1", "output_types=0x1", "ccs_cap_mode=0", "ccs_out_mode=0"}) != 0)
        throw VideoError("the kernel has no virtual video device");
}

// The node of that name once udev has set it up; empty when there is none in time.
std::string awaitNode(const std::string& name) {
    std::string node;
    eventually([&] {
        std::error_code none;
        for (const auto& entry : fs::directory_iterator("/sys/class/video4linux", none)) {
            std::ifstream file(entry.path() / "name");
            std::string found;
            if (std::getline(file, found) && found == name)
                node = "/dev/" + entry.path().filename().string();
        }
        return !node.empty();
    });
    runProgram({"udevadm", "settle"});
    return node;
}

bool nodeExists(const std::string& node) {
    std::error_code none;
    return fs::exists("/sys/class/video4linux" / fs::path(node).filename(), none);
}

void setControl(int node, std::string_view name, int value) {
    v4l2_queryctrl control{};
    control.id = V4L2_CTRL_FLAG_NEXT_CTRL;
    while (retryInterrupted([&] { return ::ioctl(node, VIDIOC_QUERYCTRL, &control); }) == 0) {
        if (name == reinterpret_cast<const char*>(control.name)) {
            v4l2_control setting{control.id, value};
            videoRequest(node, VIDIOC_S_CTRL, &setting, "a control cannot be set");
            return;
        }
        control.id |= V4L2_CTRL_FLAG_NEXT_CTRL;
    }
    throw VideoError("the device has no control " + std::string(name));
}

double rateOf(const v4l2_bt_timings& timings) {
    const double pixels =
        static_cast<double>(timings.width + timings.hfrontporch + timings.hsync + timings.hbackporch) *
        (timings.height + timings.vfrontporch + timings.vsync + timings.vbackporch);
    return static_cast<double>(timings.pixelclock) / pixels;
}

// Has the end show pictures of that size at that rate.
void setTimings(int node, const CameraMode& mode) {
    v4l2_enum_dv_timings timings{};
    for (; retryInterrupted([&] { return ::ioctl(node, VIDIOC_ENUM_DV_TIMINGS, &timings); }) == 0;
         ++timings.index) {
        const v4l2_bt_timings& found = timings.timings.bt;
        if (static_cast<int>(found.width) == mode.format.size.width &&
            static_cast<int>(found.height) == mode.format.size.height && !found.interlaced &&
            std::abs(rateOf(found) - mode.rate) < 1) {
            videoRequest(node, VIDIOC_S_DV_TIMINGS, &timings.timings, "the rate cannot be set");
            return;
        }
    }
    throw VideoError("the device has no such size and rate");
}

} // namespace

VirtualCamera::VirtualCamera(const CameraMode& mode) : mode_(mode) {
    loadModule();
    setUp();
}

VirtualCamera::~VirtualCamera() {
    runProgram({"modprobe", "-r", "vivid"});
}

void VirtualCamera::setUp() {
    node_ = awaitNode(kCaptureName);
    outputNode_ = awaitNode(kOutputName);
    const FileDescriptor capture = openVideo(node_);
    const FileDescriptor output = openVideo(outputNode_);
    setTimings(capture.get(), mode_);
    setTimings(output.get(), mode_);
    setVideoFormat(capture.get(), VideoEnd::capture, mode_.format);
    setVideoFormat(output.get(), VideoEnd::output, mode_.format);
    constexpr int kNoText = 2;
    setControl(capture.get(), "OSD Text Mode", kNoText);
    setControl(capture.get(), "Percentage of Dropped Buffers", loss_);
    setControl(capture.get(), "Loop Video", 1);
}

void VirtualCamera::setLoss(int percent) {
    setControl(openVideo(node_).get(), "Percentage of Dropped Buffers", percent);
    loss_ = percent;
}

void VirtualCamera::bind(const char* action) {
    std::ofstream file(std::string(kDriver) + action);
    if (!(file << kDevice << std::flush))
        throw VideoError(std::string("the camera refuses: ") + action);
}

void VirtualCamera::pull() {
    bind("unbind");
    if (!eventually([this] { return !nodeExists(node_); }))
        throw VideoError("the camera is still there");
}

void VirtualCamera::plugIn() {
    bind("bind");
    setUp();
}

} // namespace lightpen
