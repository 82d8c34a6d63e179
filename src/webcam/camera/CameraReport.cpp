// SPDX-License-Identifier: MIT
#include "webcam/camera/CameraReport.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "webcam/camera/Camera.h"
#include "webcam/camera/VideoModes.h"

namespace lightpen::webcam {

namespace {

constexpr Microseconds kMeasured{2'000'000};
// The setting of the unit for a middle distance.
constexpr int kUsualSetting = 23;
// More controls, and entries of a menu, no camera has; a driver's list without an end has one here.
constexpr int kMostControls = 256;
constexpr std::int64_t kMostEntries = 32;
constexpr std::uint32_t kMostFormats = 64;

std::string lettersOf(std::uint32_t code) {
    std::string letters;
    for (int shift = 0; shift < 32; shift += 8)
        letters += static_cast<char>((code >> shift) & 0x7F);
    return plainText(letters);
}

// What the camera offers beside what is read here, too.
std::string formatsText(VideoDevice& device) {
    std::string text = "  formats:";
    for (std::uint32_t index = 0; index < kMostFormats; ++index) {
        v4l2_fmtdesc format{};
        format.index = index;
        format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (device.request(VIDIOC_ENUM_FMT, &format) != 0)
            break;
        text += " " + lettersOf(format.pixelformat);
    }
    return text + "\n";
}

std::string menuText(VideoDevice& device, const v4l2_queryctrl& control) {
    std::string text;
    const std::int64_t last =
        std::min(std::int64_t{control.maximum}, std::int64_t{control.minimum} + kMostEntries);
    for (std::int64_t index = std::max(control.minimum, 0); index <= last; ++index) {
        v4l2_querymenu entry{};
        entry.id = control.id;
        entry.index = static_cast<std::uint32_t>(index);
        if (device.request(VIDIOC_QUERYMENU, &entry) == 0)
            text +=
                "      " + std::to_string(index) + ": " +
                (control.type == V4L2_CTRL_TYPE_MENU ? plainText(entry.name) : std::to_string(entry.value)) +
                "\n";
    }
    return text;
}

std::string flagsText(std::uint32_t flags) {
    std::string text;
    if (flags & V4L2_CTRL_FLAG_DISABLED)
        text += ", disabled";
    if (flags & V4L2_CTRL_FLAG_READ_ONLY)
        text += ", read only";
    if (flags & V4L2_CTRL_FLAG_INACTIVE)
        text += ", inactive";
    return text;
}

std::string controlText(VideoDevice& device, const v4l2_queryctrl& control) {
    v4l2_control value{};
    value.id = control.id;
    const int error = device.request(VIDIOC_G_CTRL, &value);
    std::string text = "    " + plainText(control.name) + ": " +
                       (error == 0 ? std::to_string(value.value) : std::string("no value")) + " (" +
                       std::to_string(control.minimum) + " to " + std::to_string(control.maximum) + " by " +
                       std::to_string(control.step) + ", default " + std::to_string(control.default_value) +
                       flagsText(control.flags) + ")\n";
    const bool menu = control.type == V4L2_CTRL_TYPE_MENU || control.type == V4L2_CTRL_TYPE_INTEGER_MENU;
    return menu ? text + menuText(device, control) : text;
}

std::string controlsText(VideoDevice& device) {
    std::string text = "  controls:\n";
    v4l2_queryctrl control{};
    for (int count = 0; count < kMostControls; ++count) {
        const std::uint32_t last = control.id;
        control = {};
        control.id = last | V4L2_CTRL_FLAG_NEXT_CTRL;
        if (device.request(VIDIOC_QUERYCTRL, &control) != 0 || control.id <= last)
            break;
        if (control.type != V4L2_CTRL_TYPE_CTRL_CLASS)
            text += controlText(device, control);
    }
    return text;
}

std::string millisecondsText(Microseconds time) {
    return textOfRate(double(time.count()) / 1000) + " ms";
}

// What two seconds of an opened camera have shown.
std::string measuredText(Camera& camera, Clock& clock) {
    camera.expose(exposureOfSetting(kUsualSetting));
    GreyPicture picture;
    std::optional<Microseconds> first, last;
    Microseconds longest{0}, age{0};
    int pictures = 0;
    const Microseconds end = clock.now() + kMeasured;
    auto next = Camera::Next::timeOut;
    while (next != Camera::Next::gone && clock.now() < end) {
        next = camera.newest(picture, end - clock.now());
        if (next != Camera::Next::picture)
            continue;
        ++pictures;
        age = std::max(age, clock.now() - picture.taken);
        longest = last ? std::max(longest, picture.taken - *last) : longest;
        first = first.value_or(picture.taken);
        last = picture.taken;
    }
    std::string text = "  measured: " + std::to_string(pictures) + " pictures in two seconds";
    if (pictures > 1 && *last > *first)
        text += ", " + textOfRate((pictures - 1) / std::chrono::duration<double>(*last - *first).count()) +
                " a second, at most " + millisecondsText(longest) + " apart and " + millisecondsText(age) +
                " old";
    text += "; " + std::to_string(camera.broken()) + " broken, " + std::to_string(camera.passedOver()) +
            " passed over\n";
    if (next == Camera::Next::gone)
        text += "  the camera stopped sending\n";
    return text;
}

std::string streamText(VideoDevices& devices, const ControlsFile& controls, Clock& clock,
                       const CameraInfo& info) {
    Camera camera(devices, controls, clock);
    if (const CameraProblem problem = camera.open(info.node, info.identity))
        return "  cannot be used: " + problem.text + "\n";
    std::string text = "  sends: " + textOf(camera.mode()) +
                       "\n  exposure: " + (camera.manualExposure() ? "can be set" : "is the camera's own") +
                       "\n";
    return text + measuredText(camera, clock);
}

std::string textOfCamera(VideoDevices& devices, const ControlsFile& controls, Clock& clock,
                         const CameraInfo& info) {
    std::string text = info.node + ": " + info.name + "\n";
    text += "  USB: " + (info.usb.empty() ? std::string("no") : info.usb) +
            (info.builtIn ? ", built in" : "") + "\n";
    text += "  driver: " + (info.driver.empty() ? std::string("unknown") : info.driver) + "\n";
    const OpenedVideo opened = devices.open(info.node);
    if (!opened.device)
        return text + "  cannot be used: " + problemOfError(info.node, opened.error).text + "\n";
    text += formatsText(*opened.device);
    for (const CameraMode& mode : info.modes)
        text += "    " + textOf(mode) + "\n";
    text += controlsText(*opened.device);
    return text + streamText(devices, controls, clock, info);
}

} // namespace

std::string cameraReport(VideoDevices& devices, const ControlsFile& controls, Clock& clock,
                         const std::vector<CameraInfo>& cameras) {
    if (cameras.empty())
        return "There is no camera.\n";
    std::string text;
    for (const CameraInfo& camera : cameras)
        text += textOfCamera(devices, controls, clock, camera);
    return text;
}

} // namespace lightpen::webcam
