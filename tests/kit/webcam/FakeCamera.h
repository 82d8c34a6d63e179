// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <linux/videodev2.h>

#include "kit/VirtualTime.h"
#include "webcam/camera/VideoDevice.h"

namespace lightpen::webcam {

// What a camera offers in one format and size.
struct FakeMode {
    std::uint32_t format = V4L2_PIX_FMT_YUYV;
    std::uint32_t width = 640, height = 480;
    std::vector<v4l2_fract> intervals = {{1, 30}};
};

struct FakeControl {
    std::int32_t least = 0, most = 255, step = 1, preset = 0, value = 0;
    std::string name = "Control";
    std::uint32_t flags = 0;
    std::vector<std::int32_t> entries = {}; // a menu has these
};

// One picture as a driver hands it over; what is not said is as it should be.
struct FakePicture {
    std::vector<std::uint8_t> bytes;
    std::optional<std::uint32_t> bytesused = std::nullopt;
    std::optional<std::uint32_t> index = std::nullopt;
    std::uint32_t flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
    std::optional<Microseconds> taken = std::nullopt; // now
};

// A camera as the kernel shows it, in virtual time. It outlives those who open it, as a real one does, and is
// as strict as drivers are: no picture without a buffer, no exposure while that is automatic.
class FakeCamera {
public:
    explicit FakeCamera(VirtualClock& time) : clock(time) {}

    VirtualClock& clock;
    // What it is, to be set before it is opened.
    std::string driver = "uvcvideo", card = "Test Camera", bus = "usb-0000:00:14.0-1";
    std::uint32_t capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    std::vector<FakeMode> modes{FakeMode{}};
    std::map<std::uint32_t, FakeControl> controls;
    std::uint32_t mostBuffers = 4;
    std::uint32_t extraStride = 0; // bytes that each row has behind its pixels
    int openError = 0;             // what an opening ends with
    bool busy = false;             // another program streams
    bool gone = false;             // it is pulled out
    // Answers a request instead of the camera: an error number, or 0 where the answer has been given.
    std::function<std::optional<int>(unsigned long code, void* argument)> answer;
    // Called when somebody waits for a picture and there is none: it may hand one over, or pull the camera.
    std::function<void()> onWait;

    // Gives it what UVC cameras have: exposure by hand or automatic, priority of the exposure, and gain.
    void addExposure();
    // Hands a picture over; false when there is no buffer for it, as when nobody reads.
    bool send(FakePicture picture);
    // The same, grey in the chosen format, with so many pictures.
    bool sendGrey(std::uint8_t brightness);
    std::int32_t value(std::uint32_t control) const { return controls.at(control).value; }

    // What was chosen, and what happened.
    FakeMode chosen;
    v4l2_fract interval{1, 30};
    bool streaming = false;
    int openings = 0;
    std::size_t mapped = 0;                                       // buffers
    std::vector<std::pair<std::uint32_t, std::int32_t>> settings; // control and value, in their order
    std::size_t queued() const { return queued_.size(); }

private:
    friend class FakeVideoDevice;
    int query(v4l2_capability& told) const;
    int listFormat(v4l2_fmtdesc& format) const;
    int listSize(v4l2_frmsizeenum& size) const;
    int listInterval(v4l2_frmivalenum& told) const;
    int setFormat(v4l2_format& format);
    void tellFormat(v4l2_format& format) const;
    int setInterval(v4l2_streamparm& parameters);
    int makeBuffers(v4l2_requestbuffers& wanted);
    int queryControl(v4l2_queryctrl& told) const;
    int queryMenu(v4l2_querymenu& told) const;
    int setControl(const v4l2_control& wanted);
    int getControl(v4l2_control& told) const;
    int takeOut(v4l2_buffer& buffer);
    int handleBuffer(unsigned long code, v4l2_buffer& buffer);
    int handleControl(unsigned long code, void* argument);
    int handleList(unsigned long code, void* argument) const;
    int handle(unsigned long code, void* argument);

    std::vector<std::vector<std::uint8_t>> buffers_;
    std::deque<std::uint32_t> queued_;
    std::deque<v4l2_buffer> ready_;
};

// The nodes of a machine, each with a camera that the test owns.
class FakeVideo final : public VideoDevices {
public:
    OpenedVideo open(const std::string& node) override;

    std::map<std::string, FakeCamera*> nodes;
};

} // namespace lightpen::webcam
