// SPDX-License-Identifier: MIT
#include "webcam/camera/VideoStream.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <cmath>

#include "webcam/camera/VideoModes.h"

namespace lightpen::webcam {

namespace {

// One that is filled, one that is read, and two for the moments when nobody reads.
constexpr std::uint32_t kBuffers = 4;
constexpr std::uint32_t kFewestBuffers = 2;
// Of what a driver calls a buffer; the largest picture in two bytes a pixel.
constexpr std::size_t kLargestBuffer = std::size_t{2} * kLargestSide * kLargestSide;
// A time that is further back is no picture's.
constexpr Microseconds kOldest{1'000'000};

v4l2_buffer bufferAt(std::uint32_t index) {
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.index = index;
    return buffer;
}

int requestBuffers(VideoDevice& device, std::uint32_t& count) {
    v4l2_requestbuffers wanted{};
    wanted.count = count;
    wanted.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    wanted.memory = V4L2_MEMORY_MMAP;
    const int error = device.request(VIDIOC_REQBUFS, &wanted);
    count = wanted.count;
    return error;
}

Microseconds timeOf(const v4l2_buffer& buffer, Microseconds now) {
    const bool ours = (buffer.flags & V4L2_BUF_FLAG_TIMESTAMP_MASK) == V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
    const timeval& told = buffer.timestamp;
    if (!ours || told.tv_sec < 0 || told.tv_sec > std::chrono::floor<std::chrono::seconds>(now).count() ||
        told.tv_usec < 0 || told.tv_usec > 999'999)
        return now;
    const Microseconds time = std::chrono::seconds(told.tv_sec) + Microseconds(told.tv_usec);
    return time <= now && time >= now - kOldest ? time : now;
}

} // namespace

std::unique_ptr<VideoStream> VideoStream::start(VideoDevice& device, const CameraMode& mode, int& error) {
    std::unique_ptr<VideoStream> stream(new VideoStream(device));
    error = stream->chooseFormat(mode);
    if (error == 0) {
        stream->chooseRate(mode.rate);
        error = stream->mapBuffers();
    }
    if (error == 0)
        error = stream->begin();
    return error == 0 ? std::move(stream) : nullptr;
}

VideoStream::~VideoStream() {
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    device_.request(VIDIOC_STREAMOFF, &type);
    for (const auto buffer : buffers_)
        device_.unmap(buffer);
    std::uint32_t none = 0;
    requestBuffers(device_, none);
}

int VideoStream::chooseFormat(const CameraMode& mode) {
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    v4l2_pix_format& pixels = format.fmt.pix;
    pixels.width = static_cast<std::uint32_t>(mode.width);
    pixels.height = static_cast<std::uint32_t>(mode.height);
    pixels.pixelformat = codeOf(mode.format);
    pixels.field = V4L2_FIELD_ANY;
    if (const int error = device_.request(VIDIOC_S_FMT, &format); error != 0)
        return error;
    // A driver takes what is nearest; another size will do as well.
    if (pixels.pixelformat != codeOf(mode.format) || pixels.width < 1 || pixels.width > kLargestSide ||
        pixels.height < 1 || pixels.height > kLargestSide)
        return EINVAL;
    const std::uint32_t bytesPerPixel = mode.format == PixelFormat::grey ? 1 : 2;
    const std::uint32_t stride =
        pixels.bytesperline == 0 ? pixels.width * bytesPerPixel : pixels.bytesperline;
    if (mode.format != PixelFormat::mjpeg &&
        (stride < pixels.width * bytesPerPixel || stride > kLargestBuffer / pixels.height))
        return EINVAL;
    layout_ = {mode.format, static_cast<int>(pixels.width), static_cast<int>(pixels.height),
               mode.format == PixelFormat::mjpeg ? 0 : static_cast<int>(stride)};
    mode_ = {mode.format, layout_.width, layout_.height, mode.rate};
    return 0;
}

// What the device sends at in the end counts. Not every one can be asked.
void VideoStream::chooseRate(double rate) {
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (rate > 0) {
        parameters.parm.capture.timeperframe = {1000, static_cast<std::uint32_t>(std::lround(rate * 1000))};
        device_.request(VIDIOC_S_PARM, &parameters);
        parameters = {};
        parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    }
    if (device_.request(VIDIOC_G_PARM, &parameters) != 0)
        return;
    const v4l2_fract& time = parameters.parm.capture.timeperframe;
    if (const double told = rateOf(time.numerator, time.denominator); told > 0)
        mode_.rate = told;
}

int VideoStream::mapBuffers() {
    std::uint32_t count = kBuffers;
    if (const int error = requestBuffers(device_, count); error != 0)
        return error;
    if (count < kFewestBuffers)
        return ENOMEM;
    for (std::uint32_t index = 0; index < std::min(count, std::uint32_t{VIDEO_MAX_FRAME}); ++index) {
        v4l2_buffer buffer = bufferAt(index);
        if (const int error = device_.request(VIDIOC_QUERYBUF, &buffer); error != 0)
            return error;
        if (buffer.length == 0 || buffer.length > kLargestBuffer)
            return EINVAL;
        const auto bytes = device_.map(buffer.length, buffer.m.offset);
        if (bytes.empty())
            return ENOMEM;
        buffers_.push_back(bytes);
    }
    return 0;
}

int VideoStream::begin() {
    for (std::uint32_t index = 0; index < buffers_.size(); ++index)
        if (const int error = giveBack(index); error != 0)
            return error;
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    return device_.request(VIDIOC_STREAMON, &type);
}

int VideoStream::giveBack(std::uint32_t index) {
    v4l2_buffer buffer = bufferAt(index);
    return device_.request(VIDIOC_QBUF, &buffer);
}

// Takes out all that are ready and keeps the newest that the device calls whole. The error number that ended
// it.
int VideoStream::takeNewest(std::optional<v4l2_buffer>& newest) {
    // A device that always has one more must not hold its reader.
    for (std::size_t taken = 0; taken < 2 * buffers_.size(); ++taken) {
        v4l2_buffer buffer = bufferAt(0);
        if (const int error = device_.request(VIDIOC_DQBUF, &buffer); error != 0)
            return error;
        if (buffer.index >= buffers_.size())
            return EIO;
        if (buffer.flags & V4L2_BUF_FLAG_ERROR) {
            ++broken_;
            giveBack(buffer.index);
            continue;
        }
        if (newest) {
            ++passedOver_;
            giveBack(newest->index);
        }
        newest = buffer;
    }
    return EAGAIN;
}

bool VideoStream::decode(const v4l2_buffer& buffer, GreyPicture& picture) {
    const auto bytes = buffers_[buffer.index];
    // More than there is room for is a lie, and then nothing of it can be believed.
    return buffer.bytesused > 0 && buffer.bytesused <= bytes.size() &&
           decodeGrey(bytes.first(buffer.bytesused), layout_, picture);
}

VideoStream::Taken VideoStream::take(GreyPicture& picture, Microseconds now) {
    const std::uint64_t brokenBefore = broken_;
    std::optional<v4l2_buffer> newest;
    const int error = takeNewest(newest);
    if (newest) {
        const bool whole = decode(*newest, picture);
        if (whole)
            picture.taken = timeOf(*newest, now);
        else
            ++broken_;
        giveBack(newest->index);
        return whole ? Taken::picture : Taken::broken;
    }
    if (broken_ != brokenBefore)
        return Taken::broken;
    if (error == EAGAIN)
        return Taken::nothing;
    return error == ENODEV || error == ENXIO ? Taken::gone : Taken::failed;
}

} // namespace lightpen::webcam
