// SPDX-License-Identifier: MIT
// Any bytes as what a camera sends: the picture in a buffer, the answers to requests, and the file of what
// its controls were.
#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include <linux/videodev2.h>

#include "kit/AnyBytes.h"
#include "kit/webcam/FakeCamera.h"
#include "platform/Log.h"
#include "webcam/camera/Camera.h"
#include "webcam/camera/CameraList.h"
#include "webcam/camera/CameraReport.h"
#include "webcam/camera/GreyDecoding.h"

namespace {

using namespace lightpen;
using namespace lightpen::webcam;

class NoLog final : public LogSink {
public:
    void logLine(std::string_view line) override { require(line.starts_with("Camera: ")); }
    void standardOutput(std::string_view) override {}
};

class NoFiles final : public DataFiles {
public:
    std::optional<DataFilePaths> locate(std::string_view) const override { return std::nullopt; }
    std::optional<std::vector<std::uint8_t>> read(const std::string&, std::size_t) const override {
        return std::nullopt;
    }
    bool replace(const std::string&, std::span<const std::uint8_t>) const override { return true; }
};

// Changes what a camera answers.
class LyingDevice final : public VideoDevice {
public:
    LyingDevice(std::unique_ptr<VideoDevice> device, Bytes& lies, int& requests)
        : device_(std::move(device)), lies_(lies), requests_(requests) {}

    int request(unsigned long code, void* argument) override {
        require(++requests_ < 200'000);
        const int error = device_->request(code, argument);
        const std::uint8_t lie = lies_.next();
        if (lie == 0)
            return error;
        if (lie < 32)
            return lie;
        // One byte of the answer is another, or one word of it is large.
        auto* const bytes = static_cast<std::uint8_t*>(argument);
        const std::size_t size = _IOC_SIZE(code);
        const std::size_t at = lies_.next() % size;
        if (lie < 128)
            bytes[at] = lies_.next();
        else
            std::memset(bytes + at / 4 * 4, lie & 1 ? 0xFF : 0, std::min<std::size_t>(4, size - at / 4 * 4));
        return lie & 2 ? 0 : error;
    }
    std::span<const std::uint8_t> map(std::size_t length, std::uint32_t offset) override {
        return device_->map(length, offset);
    }
    void unmap(std::span<const std::uint8_t> bytes) override { device_->unmap(bytes); }
    Ready wait(Microseconds timeout) override { return device_->wait(timeout); }

private:
    std::unique_ptr<VideoDevice> device_;
    Bytes& lies_;
    int& requests_;
};

class LyingVideo final : public VideoDevices {
public:
    LyingVideo(FakeCamera& camera, Bytes& lies) : lies_(lies) { video_.nodes["/dev/video0"] = &camera; }
    OpenedVideo open(const std::string& node) override {
        OpenedVideo opened = video_.open(node);
        opened.device = std::make_unique<LyingDevice>(std::move(opened.device), lies_, requests_);
        return opened;
    }

private:
    FakeVideo video_;
    Bytes& lies_;
    int requests_ = 0;
};

void checkPicture(const GreyPicture& picture) {
    require(picture.view().whole());
    require(picture.pixels.size() ==
            static_cast<std::size_t>(picture.stride) * static_cast<std::size_t>(picture.height));
}

void decode(Bytes bytes) {
    BufferLayout layout;
    layout.format = static_cast<PixelFormat>(bytes.next() % 3);
    layout.width = bytes.next();
    layout.height = bytes.next();
    layout.stride = bytes.next() * 2;
    // A block of its own, so that a byte too far is one of somebody else's.
    const std::vector<std::uint8_t> exact(bytes.rest().begin(), bytes.rest().end());
    GreyPicture picture;
    if (decodeGrey(exact, layout, picture))
        checkPicture(picture);
}

void play(Bytes bytes) {
    VirtualClock clock;
    FakeCamera camera(clock);
    camera.modes = {{V4L2_PIX_FMT_GREY, 32, 24, {{1, 60}}},
                    {V4L2_PIX_FMT_YUYV, 64, 48, {{1, 30}, {1, 15}}},
                    {V4L2_PIX_FMT_MJPEG, 64, 48, {{1, 60}}}};
    camera.addExposure();
    camera.extraStride = bytes.next() % 4;
    camera.onWait = [&] {
        clock.advanceTo(clock.now() + Microseconds(16'000));
        camera.sendGrey(9);
    };
    LyingVideo video(camera, bytes);
    const NoFiles files;
    const ControlsFile controls(files, "/nowhere");
    {
        Camera opened(video, controls, clock);
        GreyPicture picture;
        if (!opened.open("/dev/video0", "one")) {
            opened.expose(exposureOfSetting(bytes.next()));
            for (int i = 0; i < 8; ++i)
                if (opened.newest(picture, Microseconds(50'000)) == Camera::Next::picture)
                    checkPicture(picture);
        }
    }
    require(camera.mapped == 0);
    CameraInfo info;
    info.node = "/dev/video0";
    const std::string report = cameraReport(video, controls, clock, {info});
    require(report.ends_with("\n") && report.size() < 1'000'000);
    require(std::none_of(report.begin(), report.end(),
                         [](char letter) { return letter != '\n' && letter >= 0 && letter < ' '; }));
}

void readControls(std::string_view text) {
    const auto values = controlsOfText(text);
    require(values.empty() || controlsOfText(textOfControls(values)) == values);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static NoLog log;
    setLogSink(&log);
    if (size == 0)
        return 0;
    const std::span bytes(data + 1, size - 1);
    if (*data % 3 == 0)
        decode(Bytes(bytes));
    else if (*data % 3 == 1)
        play(Bytes(bytes));
    else
        readControls({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    return 0;
}
