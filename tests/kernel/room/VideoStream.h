// SPDX-License-Identifier: MIT
// Pictures to and from a video device of the kernel's, in memory that both share.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "kernel/room/RoomView.h"
#include "platform/FileDescriptor.h"

namespace lightpen {

// The kernel refuses something, or the device has gone; the text says what.
struct VideoError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What a picture consists of: grey levels, or grey levels in turn with colours.
enum class PixelKind { grey, yuyv };

struct VideoFormat {
    PictureSize size;
    PixelKind kind = PixelKind::grey;
    friend bool operator==(const VideoFormat&, const VideoFormat&) = default;
};

// The two ends of a device, as its user sees them.
enum class VideoEnd { capture, output };

// Repeats while interrupted. Throws VideoError with what was tried when the kernel refuses.
void videoRequest(int node, unsigned long request, void* argument, const char* what);
// A descriptor of the node that never blocks. Throws VideoError.
FileDescriptor openVideo(const std::string& node);
// What the end of the node is set to; none for a kind that is not known here. Throws VideoError.
std::optional<VideoFormat> videoFormat(int node, VideoEnd end);
// Throws VideoError unless the device takes it as it is.
void setVideoFormat(int node, VideoEnd end, const VideoFormat& format);

// Copies a picture's grey levels out of its bytes, or into them with no colour. Each span has room for all.
void greyOf(std::span<const std::uint8_t> bytes, PixelKind kind, std::span<std::uint8_t> grey);
void fromGrey(std::span<const std::uint8_t> grey, PixelKind kind, std::span<std::uint8_t> bytes);

// Streams from its making to its end. One thread.
class VideoStream {
public:
    // One picture in the shared memory: to be read, or to be filled.
    struct Picture {
        unsigned index = 0;
        unsigned sequence = 0; // the device counts its pictures, those that it drops too
        std::span<std::uint8_t> bytes;
    };

    // With the format that this end of the node has, and so many pictures. Throws VideoError.
    VideoStream(const std::string& node, VideoEnd end, unsigned pictures);
    ~VideoStream();
    VideoStream(const VideoStream&) = delete;
    VideoStream& operator=(const VideoStream&) = delete;

    const VideoFormat& format() const { return format_; }
    // The next picture, which is the caller's until it is given back; none when there is none in time. Throws
    // VideoError when the device has gone.
    std::optional<Picture> take(std::chrono::milliseconds patience);
    // Throws VideoError.
    void giveBack(const Picture& picture);

private:
    void map(unsigned pictures);
    void unmap();

    const VideoEnd end_;
    const FileDescriptor node_;
    VideoFormat format_;
    std::vector<std::span<std::uint8_t>> memory_;
};

} // namespace lightpen
