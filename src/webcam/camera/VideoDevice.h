// SPDX-License-Identifier: MIT
// What the capture needs of the kernel, so that tests can be a camera.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/Time.h"

namespace lightpen::webcam {

// One opened video node. One thread at a time.
class VideoDevice {
public:
    // What a wait for a picture ended with.
    enum class Ready {
        picture, // one may be taken, or the taking says why not
        timeOut, // none came in time
        gone,    // the camera has left, or streams no more
    };

    virtual ~VideoDevice() = default;
    // One request of linux/videodev2.h with its argument. Returns 0 or the error number; EINTR does not
    // occur.
    virtual int request(unsigned long code, void* argument) = 0;
    // The buffer that the kernel has at this offset, until unmap or the device's end; empty when it cannot be
    // mapped.
    virtual std::span<const std::uint8_t> map(std::size_t length, std::uint32_t offset) = 0;
    // Gives a mapping back.
    virtual void unmap(std::span<const std::uint8_t> bytes) = 0;
    // Waits until a picture may be taken, for so long at most; a signal does not shorten it.
    virtual Ready wait(Microseconds timeout) = 0;
};

// What opening a node ended with.
struct OpenedVideo {
    std::unique_ptr<VideoDevice> device; // null when it failed
    int error = 0;                       // the error number then
};

// Opens video nodes. Any thread.
class VideoDevices {
public:
    virtual ~VideoDevices() = default;
    // Opens the node for reading and writing; it blocks nobody.
    virtual OpenedVideo open(const std::string& node) = 0;
};

} // namespace lightpen::webcam
