// SPDX-License-Identifier: MIT
#include "kernel/room/VideoStream.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace lightpen {

namespace {

constexpr std::uint8_t kNoColour = 128;
// Pixels that are spread or gathered in one go, for the sake of an emulated machine; the first in memory is
// the lowest byte there.
constexpr std::size_t kTogether = 4;
static_assert(std::endian::native == std::endian::little);

std::uint32_t typeOf(VideoEnd end) {
    return end == VideoEnd::capture ? V4L2_BUF_TYPE_VIDEO_CAPTURE : V4L2_BUF_TYPE_VIDEO_OUTPUT;
}

std::uint32_t codeOf(PixelKind kind) {
    return kind == PixelKind::grey ? V4L2_PIX_FMT_GREY : V4L2_PIX_FMT_YUYV;
}

v4l2_format formatOf(int node, VideoEnd end) {
    v4l2_format format{};
    format.type = typeOf(end);
    videoRequest(node, VIDIOC_G_FMT, &format, "the format cannot be read");
    return format;
}

v4l2_buffer bufferOf(VideoEnd end, unsigned index) {
    v4l2_buffer buffer{};
    buffer.type = typeOf(end);
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.index = index;
    return buffer;
}

} // namespace

void videoRequest(int node, unsigned long request, void* argument, const char* what) {
    if (retryInterrupted([&] { return ::ioctl(node, request, argument); }) != 0)
        throw VideoError(std::string(what) + ": " + errorText(errno));
}

FileDescriptor openVideo(const std::string& node) {
    FileDescriptor opened(
        retryInterrupted([&] { return ::open(node.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC); }));
    if (!opened)
        throw VideoError(node + " cannot be opened: " + errorText(errno));
    return opened;
}

std::optional<VideoFormat> videoFormat(int node, VideoEnd end) {
    const v4l2_pix_format pixels = formatOf(node, end).fmt.pix;
    const PictureSize size{static_cast<int>(pixels.width), static_cast<int>(pixels.height)};
    for (const PixelKind kind : {PixelKind::grey, PixelKind::yuyv})
        if (pixels.pixelformat == codeOf(kind))
            return VideoFormat{size, kind};
    return std::nullopt;
}

void setVideoFormat(int node, VideoEnd end, const VideoFormat& format) {
    v4l2_format wanted = formatOf(node, end);
    wanted.fmt.pix.width = static_cast<std::uint32_t>(format.size.width);
    wanted.fmt.pix.height = static_cast<std::uint32_t>(format.size.height);
    wanted.fmt.pix.pixelformat = codeOf(format.kind);
    wanted.fmt.pix.bytesperline = 0;
    wanted.fmt.pix.field = V4L2_FIELD_NONE;
    videoRequest(node, VIDIOC_S_FMT, &wanted, "the format cannot be set");
    if (videoFormat(node, end) != format)
        throw VideoError("the device takes another format than it was given");
}

void greyOf(std::span<const std::uint8_t> bytes, PixelKind kind, std::span<std::uint8_t> grey) {
    if (kind == PixelKind::grey) {
        std::memcpy(grey.data(), bytes.data(), grey.size());
        return;
    }
    std::size_t pixel = 0;
    for (; pixel + kTogether <= grey.size(); pixel += kTogether) {
        std::uint64_t pairs = 0;
        std::memcpy(&pairs, &bytes[2 * pixel], sizeof pairs);
        pairs &= 0x00FF00FF00FF00FF;
        pairs = (pairs | pairs >> 8) & 0x0000FFFF0000FFFF;
        const auto four = static_cast<std::uint32_t>(pairs | pairs >> 16);
        std::memcpy(&grey[pixel], &four, sizeof four);
    }
    for (; pixel < grey.size(); ++pixel)
        grey[pixel] = bytes[2 * pixel];
}

void fromGrey(std::span<const std::uint8_t> grey, PixelKind kind, std::span<std::uint8_t> bytes) {
    if (kind == PixelKind::grey) {
        std::memcpy(bytes.data(), grey.data(), grey.size());
        return;
    }
    std::size_t pixel = 0;
    for (; pixel + kTogether <= grey.size(); pixel += kTogether) {
        std::uint32_t four = 0;
        std::memcpy(&four, &grey[pixel], sizeof four);
        std::uint64_t pairs = four;
        pairs = (pairs | pairs << 16) & 0x0000FFFF0000FFFF;
        pairs = (pairs | pairs << 8) & 0x00FF00FF00FF00FF;
        pairs |= 0x0100010001000100 * std::uint64_t{kNoColour};
        std::memcpy(&bytes[2 * pixel], &pairs, sizeof pairs);
    }
    for (; pixel < grey.size(); ++pixel) {
        bytes[2 * pixel] = grey[pixel];
        bytes[2 * pixel + 1] = kNoColour;
    }
}

VideoStream::VideoStream(const std::string& node, VideoEnd end, unsigned pictures)
    : end_(end), node_(openVideo(node)) {
    const auto format = videoFormat(node_.get(), end_);
    if (!format)
        throw VideoError("the pictures are of a kind that is not known here");
    format_ = *format;
    try {
        map(pictures);
        for (unsigned index = 0; index < memory_.size(); ++index) {
            if (end_ == VideoEnd::output)
                std::ranges::fill(memory_[index], std::uint8_t{0});
            giveBack({index, 0, memory_[index]});
        }
        std::uint32_t type = typeOf(end_);
        videoRequest(node_.get(), VIDIOC_STREAMON, &type, "the stream cannot be started");
    } catch (...) {
        unmap();
        throw;
    }
}

VideoStream::~VideoStream() {
    std::uint32_t type = typeOf(end_);
    ::ioctl(node_.get(), VIDIOC_STREAMOFF, &type); // a device that has gone streams no more
    unmap();
}

void VideoStream::map(unsigned pictures) {
    v4l2_requestbuffers request{};
    request.count = pictures;
    request.type = typeOf(end_);
    request.memory = V4L2_MEMORY_MMAP;
    videoRequest(node_.get(), VIDIOC_REQBUFS, &request, "there is no memory for pictures");
    for (unsigned index = 0; index < request.count; ++index) {
        v4l2_buffer buffer = bufferOf(end_, index);
        videoRequest(node_.get(), VIDIOC_QUERYBUF, &buffer, "the memory for pictures is nowhere");
        void* address =
            ::mmap(nullptr, buffer.length, PROT_READ | PROT_WRITE, MAP_SHARED, node_.get(), buffer.m.offset);
        if (address == MAP_FAILED)
            throw VideoError("the memory for pictures cannot be shared: " + errorText(errno));
        memory_.emplace_back(static_cast<std::uint8_t*>(address), buffer.length);
    }
}

void VideoStream::unmap() {
    for (const auto& picture : memory_)
        ::munmap(picture.data(), picture.size());
}

std::optional<VideoStream::Picture> VideoStream::take(std::chrono::milliseconds patience) {
    pollfd polled{node_.get(), static_cast<short>(end_ == VideoEnd::capture ? POLLIN : POLLOUT), 0};
    if (retryInterrupted([&] { return ::poll(&polled, 1, static_cast<int>(patience.count())); }) == 0)
        return std::nullopt;
    v4l2_buffer buffer = bufferOf(end_, 0);
    videoRequest(node_.get(), VIDIOC_DQBUF, &buffer, "there are no more pictures");
    return Picture{buffer.index, buffer.sequence, memory_.at(buffer.index)};
}

void VideoStream::giveBack(const Picture& picture) {
    v4l2_buffer buffer = bufferOf(end_, picture.index);
    buffer.bytesused = static_cast<std::uint32_t>(picture.bytes.size());
    buffer.field = V4L2_FIELD_NONE;
    videoRequest(node_.get(), VIDIOC_QBUF, &buffer, "a picture is not taken back");
}

} // namespace lightpen
