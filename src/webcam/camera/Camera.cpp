// SPDX-License-Identifier: MIT
#include "webcam/camera/Camera.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "platform/Log.h"
#include "webcam/camera/VideoModes.h"
#include "webcam/camera/VideoStream.h"

namespace lightpen::webcam {

namespace {

// A bus without room for the best mode may have some for the next.
constexpr std::size_t kMostTrials = 8;
// Without a picture between them; a device that answers so often that it cannot say will not recover.
constexpr int kMostFailures = 16;
constexpr Microseconds kSilence{3'000'000};

} // namespace

Camera::Camera(VideoDevices& devices, const ControlsFile& controls, Clock& clock)
    : devices_(devices), file_(controls), clock_(clock) {}

Camera::~Camera() {
    close();
}

const CameraMode& Camera::mode() const {
    return stream_->mode();
}

std::uint64_t Camera::broken() const {
    return stream_->broken();
}

std::uint64_t Camera::passedOver() const {
    return stream_->passedOver();
}

void Camera::tell(const std::string& line) {
    if (line != lastTold_)
        logLine("Camera: %s", line.c_str());
    lastTold_ = line;
}

CameraProblem Camera::open(const std::string& node, const std::string& identity) {
    close();
    CameraProblem problem = start(node, identity);
    if (problem) {
        tell(problem.text);
        close();
        return problem;
    }
    node_ = node;
    lastWhole_ = clock_.now();
    failures_ = 0;
    streaming_ = false;
    controls_->expose(std::nullopt, mode().rate);
    if (!manualExposure() && toldOfExposure_ != identity) {
        logLine("Camera: %s has no exposure that can be set; where it is bright the pen may not be seen",
                node.c_str());
        toldOfExposure_ = identity;
    }
    return {};
}

CameraProblem Camera::start(const std::string& node, const std::string& identity) {
    OpenedVideo opened = devices_.open(node);
    if (!opened.device)
        return problemOfError(node, opened.error);
    device_ = std::move(opened.device);
    int error = 0;
    const auto told = nodeOf(*device_, error);
    if (!told)
        return problemOfError(node, error);
    if (CameraProblem problem = problemOfNode(node, *told))
        return problem;
    // What is left of a program that still runs is no crash's.
    if (isBusy(*device_))
        return problemOfError(node, EBUSY);
    controls_ = std::make_unique<CameraControls>(*device_, file_, identity);
    return startStream(node);
}

CameraProblem Camera::startStream(const std::string& node) {
    const auto modes = modesOf(*device_);
    if (CameraProblem problem = problemOfModes(node, modes))
        return problem;
    int error = 0;
    for (std::size_t i = 0; i < std::min(modes.size(), kMostTrials); ++i) {
        stream_ = VideoStream::start(*device_, modes[i], error);
        if (stream_)
            return {};
        // What another mode does not help against.
        if (error == EBUSY || error == ENODEV || error == EACCES)
            break;
    }
    return problemOfError(node, error);
}

void Camera::close() {
    if (controls_)
        controls_->putBack();
    stream_ = nullptr;
    controls_ = nullptr;
    device_ = nullptr;
}

void Camera::expose(Exposure exposure) {
    controls_->expose(exposure, mode().rate);
}

Camera::Next Camera::lost(const std::string& how) {
    tell(node_ + how);
    return Next::gone;
}

// What is ready; a time-out stands for none.
Camera::Next Camera::look(GreyPicture& picture) {
    switch (stream_->take(picture, clock_.now())) {
    case VideoStream::Taken::picture:
        lastWhole_ = clock_.now();
        failures_ = 0;
        if (!streaming_)
            tell(node_ + " sends " + textOf(mode()));
        streaming_ = true;
        return Next::picture;
    case VideoStream::Taken::broken:
        failures_ = 0;
        return Next::timeOut;
    case VideoStream::Taken::nothing:
    case VideoStream::Taken::failed:
        return ++failures_ < kMostFailures ? Next::timeOut : lost(" fails to hand its pictures over");
    case VideoStream::Taken::gone:
        break;
    }
    return lost(" has left");
}

Camera::Next Camera::newest(GreyPicture& picture, Microseconds timeout) {
    const Microseconds end = clock_.now() + timeout;
    for (;;) {
        const Microseconds left = std::max(end - clock_.now(), Microseconds(0));
        const VideoDevice::Ready ready = device_->wait(left);
        if (ready == VideoDevice::Ready::gone)
            return lost(" has left");
        const Next next = ready == VideoDevice::Ready::picture ? look(picture) : Next::timeOut;
        if (next != Next::timeOut)
            return next;
        const Microseconds now = clock_.now();
        if (now - lastWhole_ >= kSilence)
            return lost(" has sent no whole picture for three seconds");
        if (now >= end)
            return Next::timeOut;
    }
}

void putBackLeftControls(VideoDevices& devices, const ControlsFile& file, const std::string& node,
                         const std::string& identity) {
    if (file.left(identity).empty())
        return;
    if (const OpenedVideo opened = devices.open(node); opened.device && !isBusy(*opened.device))
        const CameraControls puttingBack(*opened.device, file, identity);
}

} // namespace lightpen::webcam
