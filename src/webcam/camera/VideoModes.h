// SPDX-License-Identifier: MIT
// What a video node says of itself. A list of the kernel's has an end here even where the driver gives it
// none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "webcam/camera/CameraMode.h"
#include "webcam/camera/CameraProblem.h"
#include "webcam/camera/VideoDevice.h"

namespace lightpen::webcam {

// Who a node is.
struct VideoNames {
    std::string driver; // the kernel's driver
    std::string card;   // what the device calls itself
    std::string bus;    // where it is
};

// What a node is there for.
enum class VideoPurpose {
    capture, // it sends pictures in single planes, which are read here
    planes,  // it sends pictures in several planes, which are not
    other,   // it sends none: metadata, output, a converter
};

struct VideoNode {
    VideoNames names;
    VideoPurpose purpose = VideoPurpose::other;
};

// Who the opened node is and what for; none, with the error number in `error`, when it does not answer.
std::optional<VideoNode> nodeOf(VideoDevice& device, int& error);

// Why what this node is there for makes it no camera; none when it captures.
CameraProblem problemOfNode(const std::string& node, const VideoNode& told);

// Whether another program has buffers of it, and so streams or is about to. Changes nothing for anybody.
bool isBusy(VideoDevice& device);

// The modes that are read here, the best first. A source that sets size and format by itself (what has a
// cable for pictures) has the one that it is in.
std::vector<CameraMode> modesOf(VideoDevice& device);

// The kernel's number of a format.
std::uint32_t codeOf(PixelFormat format);
// The format of the kernel's number; none when it is not read here.
std::optional<PixelFormat> formatOf(std::uint32_t code);
// The pictures a second of a time for one; 0 when the fraction makes no sense.
double rateOf(std::uint32_t numerator, std::uint32_t denominator);
// A name that a device gives, without what a terminal would obey.
std::string plainText(const std::string& text);
// The same of a field of so many bytes, which need not have an end.
template <std::size_t size>
std::string plainText(const std::uint8_t (&field)[size]) {
    std::string text(reinterpret_cast<const char*>(field), size);
    return plainText(text.substr(0, text.find('\0')));
}

} // namespace lightpen::webcam
