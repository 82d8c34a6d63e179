// SPDX-License-Identifier: MIT
#include "webcam/camera/VideoModes.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>

#include "webcam/camera/GreyDecoding.h"

namespace lightpen::webcam {

namespace {

// More formats, sizes of a format and rates of a size no camera has.
constexpr std::uint32_t kMostFormats = 64;
constexpr std::uint32_t kMostSizes = 128;
constexpr std::uint32_t kMostRates = 64;
constexpr double kLargestRate = 1000;

struct Size {
    std::uint32_t width = 0, height = 0;
};
// What is asked of a camera that takes any size.
constexpr std::array kUsualSizes{Size{1280, 720}, Size{640, 480}};

bool isSensible(const Size& size) {
    return size.width >= 1 && size.width <= kLargestSide && size.height >= 1 && size.height <= kLargestSide;
}

CameraMode modeOf(PixelFormat format, const Size& size, double rate) {
    return {format, static_cast<int>(size.width), static_cast<int>(size.height), rate};
}

void addRates(VideoDevice& device, PixelFormat format, const Size& size, std::vector<CameraMode>& modes) {
    bool any = false;
    for (std::uint32_t index = 0; index < kMostRates; ++index) {
        v4l2_frmivalenum interval{};
        interval.index = index;
        interval.pixel_format = codeOf(format);
        interval.width = size.width;
        interval.height = size.height;
        if (device.request(VIDIOC_ENUM_FRAMEINTERVALS, &interval) != 0)
            break;
        const bool listed = interval.type == V4L2_FRMIVAL_TYPE_DISCRETE;
        const v4l2_fract shortest = listed ? interval.discrete : interval.stepwise.min;
        if (const double rate = rateOf(shortest.numerator, shortest.denominator); rate > 0) {
            modes.push_back(modeOf(format, size, rate));
            any = true;
        }
        if (!listed)
            break;
    }
    if (!any)
        modes.push_back(modeOf(format, size, 0));
}

bool fits(std::uint32_t value, std::uint32_t least, std::uint32_t most, std::uint32_t step) {
    return value >= least && value <= most && (step <= 1 || (value - least) % step == 0);
}

bool fits(const Size& size, const v4l2_frmsize_stepwise& range) {
    return fits(size.width, range.min_width, range.max_width, range.step_width) &&
           fits(size.height, range.min_height, range.max_height, range.step_height);
}

std::optional<v4l2_format> presentFormat(VideoDevice& device) {
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (device.request(VIDIOC_G_FMT, &format) != 0)
        return std::nullopt;
    return format;
}

// The present size of a camera that lists none.
std::vector<Size> presentSize(VideoDevice& device) {
    const auto format = presentFormat(device);
    const Size size = format ? Size{format->fmt.pix.width, format->fmt.pix.height} : Size{};
    return isSensible(size) ? std::vector{size} : std::vector<Size>{};
}

std::vector<Size> sizesOf(VideoDevice& device, PixelFormat format) {
    std::vector<Size> sizes;
    for (std::uint32_t index = 0; index < kMostSizes; ++index) {
        v4l2_frmsizeenum entry{};
        entry.index = index;
        entry.pixel_format = codeOf(format);
        if (device.request(VIDIOC_ENUM_FRAMESIZES, &entry) != 0)
            break;
        if (entry.type != V4L2_FRMSIZE_TYPE_DISCRETE) {
            std::copy_if(kUsualSizes.begin(), kUsualSizes.end(), std::back_inserter(sizes),
                         [&](const Size& size) { return fits(size, entry.stepwise); });
            break;
        }
        if (const Size size{entry.discrete.width, entry.discrete.height}; isSensible(size))
            sizes.push_back(size);
    }
    return sizes.empty() ? presentSize(device) : sizes;
}

std::vector<PixelFormat> formatsOf(VideoDevice& device) {
    std::vector<PixelFormat> formats;
    for (std::uint32_t index = 0; index < kMostFormats; ++index) {
        v4l2_fmtdesc entry{};
        entry.index = index;
        entry.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (device.request(VIDIOC_ENUM_FMT, &entry) != 0)
            break;
        const auto format = formatOf(entry.pixelformat);
        if (format && std::find(formats.begin(), formats.end(), *format) == formats.end())
            formats.push_back(*format);
    }
    return formats;
}

bool setsItsOwnSize(VideoDevice& device) {
    int index = 0;
    v4l2_input input{};
    if (device.request(VIDIOC_G_INPUT, &index) != 0 || index < 0)
        return false;
    input.index = static_cast<std::uint32_t>(index);
    return device.request(VIDIOC_ENUMINPUT, &input) == 0 && (input.capabilities & V4L2_IN_CAP_DV_TIMINGS);
}

// What the source is in; none when that is not read here.
std::vector<CameraMode> presentMode(VideoDevice& device) {
    const auto present = presentFormat(device);
    const auto format = present ? formatOf(present->fmt.pix.pixelformat) : std::nullopt;
    const Size size = present ? Size{present->fmt.pix.width, present->fmt.pix.height} : Size{};
    if (!format || !isSensible(size))
        return {};
    return {modeOf(*format, size, 0)};
}

} // namespace

std::optional<VideoNode> nodeOf(VideoDevice& device, int& error) {
    v4l2_capability told{};
    error = device.request(VIDIOC_QUERYCAP, &told);
    if (error != 0)
        return std::nullopt;
    const std::uint32_t can = told.capabilities & V4L2_CAP_DEVICE_CAPS ? told.device_caps : told.capabilities;
    VideoNode node{{plainText(told.driver), plainText(told.card), plainText(told.bus_info)}};
    if ((can & V4L2_CAP_VIDEO_CAPTURE) && (can & V4L2_CAP_STREAMING))
        node.purpose = VideoPurpose::capture;
    else if (can & V4L2_CAP_VIDEO_CAPTURE_MPLANE)
        node.purpose = VideoPurpose::planes;
    return node;
}

CameraProblem problemOfNode(const std::string& node, const VideoNode& told) {
    using Kind = CameraProblem::Kind;
    if (told.purpose == VideoPurpose::other)
        return {Kind::notACamera, node + " sends no pictures"};
    if (told.purpose == VideoPurpose::planes)
        return {Kind::noFormat, node + " sends its pictures in planes, which are not read here"};
    return {};
}

bool isBusy(VideoDevice& device) {
    v4l2_requestbuffers none{};
    none.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    none.memory = V4L2_MEMORY_MMAP;
    return device.request(VIDIOC_REQBUFS, &none) == EBUSY;
}

std::vector<CameraMode> modesOf(VideoDevice& device) {
    std::vector<CameraMode> modes;
    if (setsItsOwnSize(device))
        modes = presentMode(device);
    if (modes.empty())
        for (const PixelFormat format : formatsOf(device))
            for (const Size& size : sizesOf(device, format))
                addRates(device, format, size, modes);
    sortByUse(modes);
    return modes;
}

std::uint32_t codeOf(PixelFormat format) {
    switch (format) {
    case PixelFormat::grey:
        return V4L2_PIX_FMT_GREY;
    case PixelFormat::yuyv:
        return V4L2_PIX_FMT_YUYV;
    case PixelFormat::mjpeg:
        break;
    }
    return V4L2_PIX_FMT_MJPEG;
}

std::optional<PixelFormat> formatOf(std::uint32_t code) {
    switch (code) {
    case V4L2_PIX_FMT_GREY:
        return PixelFormat::grey;
    case V4L2_PIX_FMT_YUYV:
        return PixelFormat::yuyv;
    case V4L2_PIX_FMT_MJPEG:
        return PixelFormat::mjpeg;
    default:
        return std::nullopt;
    }
}

double rateOf(std::uint32_t numerator, std::uint32_t denominator) {
    const double rate = numerator == 0 ? 0 : double(denominator) / double(numerator);
    return rate <= kLargestRate ? rate : 0;
}

std::string plainText(const std::string& text) {
    std::string plain = text;
    for (std::size_t i = 0; i < plain.size(); ++i) {
        const auto byte = static_cast<unsigned char>(plain[i]);
        const bool second = i > 0 && static_cast<unsigned char>(plain[i - 1]) == 0xC2 && byte < 0xA0;
        if (byte < 0x20 || byte == 0x7F || second)
            plain[i] = '?';
    }
    return plain;
}

} // namespace lightpen::webcam
