// SPDX-License-Identifier: MIT
#include "kit/webcam/FakeCamera.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace lightpen::webcam {

namespace {

template <std::size_t size>
void copyText(std::uint8_t (&field)[size], const std::string& text) {
    std::copy_n(text.begin(), std::min(text.size(), size - 1), field);
}

std::vector<std::uint32_t> formatsOf(const std::vector<FakeMode>& modes) {
    std::vector<std::uint32_t> formats;
    for (const FakeMode& mode : modes)
        if (std::find(formats.begin(), formats.end(), mode.format) == formats.end())
            formats.push_back(mode.format);
    return formats;
}

std::uint32_t bytesPerPixel(std::uint32_t format) {
    return format == V4L2_PIX_FMT_GREY ? 1 : 2;
}

} // namespace

class FakeVideoDevice final : public VideoDevice {
public:
    explicit FakeVideoDevice(FakeCamera& camera) : camera_(camera) {}
    // As a closed descriptor does.
    ~FakeVideoDevice() override { camera_.streaming = false; }

    int request(unsigned long code, void* argument) override {
        if (camera_.answer)
            if (const auto answered = camera_.answer(code, argument))
                return *answered;
        return camera_.gone ? ENODEV : camera_.handle(code, argument);
    }
    std::span<const std::uint8_t> map(std::size_t length, std::uint32_t offset) override {
        // The kernel maps no more than there is.
        if (offset >= camera_.buffers_.size() || length > camera_.buffers_[offset].size())
            return {};
        ++camera_.mapped;
        return std::span(camera_.buffers_[offset]).first(length);
    }
    void unmap(std::span<const std::uint8_t>) override { --camera_.mapped; }
    Ready wait(Microseconds timeout) override {
        const Microseconds end = camera_.clock.now() + timeout;
        if (camera_.ready_.empty() && !camera_.gone && camera_.onWait)
            camera_.onWait();
        if (camera_.gone || !camera_.streaming)
            return Ready::gone;
        if (!camera_.ready_.empty())
            return Ready::picture;
        camera_.clock.advanceTo(end);
        return Ready::timeOut;
    }

private:
    FakeCamera& camera_;
};

void FakeCamera::addExposure() {
    controls[V4L2_CID_EXPOSURE_AUTO] = {
        .least = 0, .most = 3, .preset = 3, .value = 3, .name = "Auto Exposure", .entries = {1, 3}};
    controls[V4L2_CID_EXPOSURE_AUTO_PRIORITY] = {
        .most = 1, .value = 1, .name = "Exposure, Dynamic Framerate"};
    controls[V4L2_CID_EXPOSURE_ABSOLUTE] = {
        .least = 3, .most = 2047, .preset = 250, .value = 250, .name = "Exposure Time, Absolute"};
    controls[V4L2_CID_GAIN] = {.least = 4, .most = 255, .value = 64, .name = "Gain"};
}

bool FakeCamera::send(FakePicture picture) {
    if (!streaming || queued_.empty())
        return false;
    const std::uint32_t index = queued_.front();
    queued_.pop_front();
    std::vector<std::uint8_t>& bytes = buffers_[index];
    std::copy_n(picture.bytes.begin(), std::min(picture.bytes.size(), bytes.size()), bytes.begin());
    v4l2_buffer buffer{};
    buffer.index = picture.index.value_or(index);
    buffer.bytesused = picture.bytesused.value_or(static_cast<std::uint32_t>(picture.bytes.size()));
    buffer.flags = picture.flags;
    const Microseconds taken = picture.taken.value_or(clock.now());
    buffer.timestamp.tv_sec = taken.count() / 1'000'000;
    buffer.timestamp.tv_usec = taken.count() % 1'000'000;
    ready_.push_back(buffer);
    return true;
}

bool FakeCamera::sendGrey(std::uint8_t brightness) {
    const std::size_t stride = chosen.width * bytesPerPixel(chosen.format) + extraStride;
    FakePicture picture{std::vector<std::uint8_t>(stride * chosen.height, brightness)};
    if (chosen.format == V4L2_PIX_FMT_YUYV) // the colour must not be taken for brightness
        for (std::size_t i = 1; i < picture.bytes.size(); i += 2)
            picture.bytes[i] = 128;
    return send(std::move(picture));
}

int FakeCamera::query(v4l2_capability& told) const {
    copyText(told.driver, driver);
    copyText(told.card, card);
    copyText(told.bus_info, bus);
    told.device_caps = capabilities;
    // Those of all nodes of the device, which say nothing of this one.
    told.capabilities = capabilities | V4L2_CAP_DEVICE_CAPS | V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_META_CAPTURE;
    return 0;
}

int FakeCamera::listFormat(v4l2_fmtdesc& format) const {
    const auto formats = formatsOf(modes);
    if (format.index >= formats.size())
        return EINVAL;
    format.pixelformat = formats[format.index];
    return 0;
}

int FakeCamera::listSize(v4l2_frmsizeenum& size) const {
    std::uint32_t index = 0;
    for (const FakeMode& mode : modes) {
        if (mode.format != size.pixel_format || index++ != size.index)
            continue;
        size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
        size.discrete = {mode.width, mode.height};
        return 0;
    }
    return EINVAL;
}

int FakeCamera::listInterval(v4l2_frmivalenum& told) const {
    for (const FakeMode& mode : modes) {
        if (mode.format != told.pixel_format || mode.width != told.width || mode.height != told.height ||
            told.index >= mode.intervals.size())
            continue;
        told.type = V4L2_FRMIVAL_TYPE_DISCRETE;
        told.discrete = mode.intervals[told.index];
        return 0;
    }
    return EINVAL;
}

void FakeCamera::tellFormat(v4l2_format& format) const {
    v4l2_pix_format& pixels = format.fmt.pix;
    pixels.width = chosen.width;
    pixels.height = chosen.height;
    pixels.pixelformat = chosen.format;
    const bool compressed = chosen.format == V4L2_PIX_FMT_MJPEG;
    pixels.bytesperline = compressed ? 0 : chosen.width * bytesPerPixel(chosen.format) + extraStride;
    pixels.sizeimage = compressed ? chosen.width * chosen.height * 2 : pixels.bytesperline * chosen.height;
}

int FakeCamera::setFormat(v4l2_format& format) {
    if (busy)
        return EBUSY;
    const v4l2_pix_format& pixels = format.fmt.pix;
    const auto found = std::find_if(modes.begin(), modes.end(), [&](const FakeMode& mode) {
        return mode.format == pixels.pixelformat && mode.width == pixels.width &&
               mode.height == pixels.height;
    });
    // A driver takes what it likes instead.
    chosen = found == modes.end() ? modes.front() : *found;
    tellFormat(format);
    return 0;
}

int FakeCamera::setInterval(v4l2_streamparm& parameters) {
    v4l2_fract& wanted = parameters.parm.capture.timeperframe;
    const auto distance = [&](const v4l2_fract& time) {
        return std::abs(double(time.numerator) / time.denominator -
                        double(wanted.numerator) / wanted.denominator);
    };
    const auto nearest =
        std::min_element(chosen.intervals.begin(), chosen.intervals.end(),
                         [&](const auto& one, const auto& other) { return distance(one) < distance(other); });
    if (nearest != chosen.intervals.end())
        interval = *nearest;
    wanted = interval;
    return 0;
}

int FakeCamera::makeBuffers(v4l2_requestbuffers& wanted) {
    if (busy)
        return EBUSY;
    if (mapped > 0)
        return EBUSY;
    wanted.count = std::min(wanted.count, mostBuffers);
    v4l2_format format{};
    tellFormat(format);
    buffers_.assign(wanted.count, std::vector<std::uint8_t>(format.fmt.pix.sizeimage));
    queued_.clear();
    ready_.clear();
    return 0;
}

int FakeCamera::queryControl(v4l2_queryctrl& told) const {
    const bool next = told.id & V4L2_CTRL_FLAG_NEXT_CTRL;
    const std::uint32_t id = told.id & ~V4L2_CTRL_FLAG_NEXT_CTRL;
    const auto found = next ? controls.upper_bound(id) : controls.find(id);
    if (found == controls.end())
        return EINVAL;
    const FakeControl& control = found->second;
    told.id = found->first;
    told.type = control.entries.empty() ? V4L2_CTRL_TYPE_INTEGER : V4L2_CTRL_TYPE_MENU;
    copyText(told.name, control.name);
    told.minimum = control.least;
    told.maximum = control.most;
    told.step = control.step;
    told.default_value = control.preset;
    told.flags = control.flags;
    return 0;
}

int FakeCamera::queryMenu(v4l2_querymenu& told) const {
    const auto found = controls.find(told.id);
    if (found == controls.end())
        return EINVAL;
    const auto& entries = found->second.entries;
    if (std::find(entries.begin(), entries.end(), static_cast<std::int32_t>(told.index)) == entries.end())
        return EINVAL;
    std::snprintf(reinterpret_cast<char*>(told.name), sizeof told.name, "entry %u", unsigned{told.index});
    return 0;
}

int FakeCamera::getControl(v4l2_control& told) const {
    const auto found = controls.find(told.id);
    if (found == controls.end())
        return EINVAL;
    told.value = found->second.value;
    return 0;
}

int FakeCamera::setControl(const v4l2_control& wanted) {
    const auto found = controls.find(wanted.id);
    if (found == controls.end())
        return EINVAL;
    FakeControl& control = found->second;
    if (control.flags & V4L2_CTRL_FLAG_READ_ONLY)
        return EACCES;
    const auto choice = controls.find(V4L2_CID_EXPOSURE_AUTO);
    if (wanted.id == V4L2_CID_EXPOSURE_ABSOLUTE && choice != controls.end() &&
        choice->second.value != V4L2_EXPOSURE_MANUAL)
        return EACCES;
    if (wanted.value < control.least || wanted.value > control.most ||
        (wanted.value - control.least) % control.step != 0)
        return ERANGE;
    if (!control.entries.empty() &&
        std::find(control.entries.begin(), control.entries.end(), wanted.value) == control.entries.end())
        return EINVAL;
    control.value = wanted.value;
    settings.emplace_back(wanted.id, wanted.value);
    return 0;
}

int FakeCamera::takeOut(v4l2_buffer& buffer) {
    if (!streaming)
        return EINVAL;
    if (ready_.empty())
        return EAGAIN;
    buffer = ready_.front();
    ready_.pop_front();
    return 0;
}

int FakeCamera::handleBuffer(unsigned long code, v4l2_buffer& buffer) {
    if (code == VIDIOC_DQBUF)
        return takeOut(buffer);
    if (buffer.index >= buffers_.size())
        return EINVAL;
    if (code == VIDIOC_QUERYBUF) {
        buffer.length = static_cast<std::uint32_t>(buffers_[buffer.index].size());
        buffer.m.offset = buffer.index;
        return 0;
    }
    if (std::find(queued_.begin(), queued_.end(), buffer.index) != queued_.end())
        return EINVAL;
    queued_.push_back(buffer.index);
    return 0;
}

int FakeCamera::handleControl(unsigned long code, void* argument) {
    switch (code) {
    case VIDIOC_QUERYCTRL:
        return queryControl(*static_cast<v4l2_queryctrl*>(argument));
    case VIDIOC_QUERYMENU:
        return queryMenu(*static_cast<v4l2_querymenu*>(argument));
    case VIDIOC_G_CTRL:
        return getControl(*static_cast<v4l2_control*>(argument));
    case VIDIOC_S_CTRL:
        return setControl(*static_cast<v4l2_control*>(argument));
    default:
        return ENOTTY;
    }
}

int FakeCamera::handleList(unsigned long code, void* argument) const {
    switch (code) {
    case VIDIOC_QUERYCAP:
        return query(*static_cast<v4l2_capability*>(argument));
    case VIDIOC_ENUM_FMT:
        return listFormat(*static_cast<v4l2_fmtdesc*>(argument));
    case VIDIOC_ENUM_FRAMESIZES:
        return listSize(*static_cast<v4l2_frmsizeenum*>(argument));
    case VIDIOC_ENUM_FRAMEINTERVALS:
        return listInterval(*static_cast<v4l2_frmivalenum*>(argument));
    case VIDIOC_G_FMT:
        tellFormat(*static_cast<v4l2_format*>(argument));
        return 0;
    case VIDIOC_G_PARM:
        static_cast<v4l2_streamparm*>(argument)->parm.capture.timeperframe = interval;
        return 0;
    default:
        return ENOTTY;
    }
}

int FakeCamera::handle(unsigned long code, void* argument) {
    switch (code) {
    case VIDIOC_S_FMT:
        return setFormat(*static_cast<v4l2_format*>(argument));
    case VIDIOC_S_PARM:
        return setInterval(*static_cast<v4l2_streamparm*>(argument));
    case VIDIOC_REQBUFS:
        return makeBuffers(*static_cast<v4l2_requestbuffers*>(argument));
    case VIDIOC_QUERYBUF:
    case VIDIOC_QBUF:
    case VIDIOC_DQBUF:
        return handleBuffer(code, *static_cast<v4l2_buffer*>(argument));
    case VIDIOC_STREAMON:
    case VIDIOC_STREAMOFF:
        streaming = code == VIDIOC_STREAMON;
        return 0;
    case VIDIOC_QUERYCTRL:
    case VIDIOC_QUERYMENU:
    case VIDIOC_G_CTRL:
    case VIDIOC_S_CTRL:
        return handleControl(code, argument);
    default:
        return handleList(code, argument);
    }
}

OpenedVideo FakeVideo::open(const std::string& node) {
    const auto found = nodes.find(node);
    if (found == nodes.end() || found->second->gone)
        return {nullptr, ENOENT};
    if (found->second->openError != 0)
        return {nullptr, found->second->openError};
    ++found->second->openings;
    return {std::make_unique<FakeVideoDevice>(*found->second), 0};
}

} // namespace lightpen::webcam
