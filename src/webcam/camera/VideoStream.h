// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/Time.h"
#include "webcam/camera/CameraMode.h"
#include "webcam/camera/GreyDecoding.h"
#include "webcam/camera/GreyPicture.h"
#include "webcam/camera/VideoDevice.h"

struct v4l2_buffer;

namespace lightpen::webcam {

// The buffers of one opened camera that streams in one mode, from its making to its end. One thread.
class VideoStream {
public:
    // Lets the device stream in this mode. Null, with the error number in `error`, when it does not: ENOSPC
    // where its bus has no room for that much, EINVAL where it takes another format. Keeps the device.
    static std::unique_ptr<VideoStream> start(VideoDevice& device, const CameraMode& mode, int& error);
    // Ends the stream.
    ~VideoStream();
    VideoStream(const VideoStream&) = delete;
    VideoStream& operator=(const VideoStream&) = delete;

    // What a look for a picture ended with.
    enum class Taken {
        picture, // it is the newest that was ready
        broken,  // one was ready, but is not whole
        nothing, // none was
        failed,  // the device could not say; another time it may
        gone,    // the device has left
    };
    // Takes the newest of the pictures that are ready, and gives all others back. `now` is the time by the
    // clock of the picture's reader; it stands for a time that the device does not tell, or that makes no
    // sense.
    Taken take(GreyPicture& picture, Microseconds now);

    // The mode, as the device has confirmed it.
    const CameraMode& mode() const { return mode_; }
    std::uint64_t broken() const { return broken_; }         // pictures that were not whole
    std::uint64_t passedOver() const { return passedOver_; } // pictures that were older than one taken

private:
    explicit VideoStream(VideoDevice& device) : device_(device) {}
    int chooseFormat(const CameraMode& mode);
    void chooseRate(double rate);
    int mapBuffers();
    int begin();
    int giveBack(std::uint32_t index);
    int takeNewest(std::optional<v4l2_buffer>& newest);
    bool decode(const v4l2_buffer& buffer, GreyPicture& picture);

    VideoDevice& device_;
    CameraMode mode_;
    BufferLayout layout_;
    std::vector<std::span<const std::uint8_t>> buffers_;
    std::uint64_t broken_ = 0, passedOver_ = 0;
};

} // namespace lightpen::webcam
