// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform/FileDescriptor.h"
#include "platform/IOReturn.h"

namespace lightpen {

// Sends the output reports of one open hidraw node, in order, from a thread of its own: the kernel's write
// blocks for up to five seconds when the unit does not take the report, whatever the node's flags say, and a
// caller's time-out must hold nevertheless. Thread-safe.
class HidrawWriter {
public:
    // So many reports wait at most; when there are more, further ones wait for room within their time-out.
    static constexpr std::size_t kMostWaiting = 64;

    // Starts the thread on the node, which may be a blocking or a non-blocking one. It asks terminating, on
    // any thread, whether the program is ending. Null when there can be no thread.
    static std::unique_ptr<HidrawWriter> start(std::shared_ptr<const FileDescriptor> node,
                                               std::function<bool()> terminating);
    // Ends it as stop(kIOReturnNotOpen) does.
    ~HidrawWriter();
    HidrawWriter(const HidrawWriter&) = delete;
    HidrawWriter& operator=(const HidrawWriter&) = delete;

    // Sends the bytes, report ID first, and waits until the kernel has taken them, at most timeoutMs.
    // kIOReturnTimeout when time is up: the report stays in line and goes out before any later one.
    // kIOReturnNoDevice when the unit is gone. kIOHIDNoTimeout waits for as long as the writer is not stopped
    // and the program not ending.
    IOReturn send(std::vector<std::uint8_t> bytes, std::uint32_t timeoutMs);
    // Ends every send, those to come too, with this result; reports that have not begun are dropped. Does not
    // wait for a write that is stuck in the kernel: the thread keeps the node until that returns.
    void stop(IOReturn result);

private:
    struct Line;
    explicit HidrawWriter(std::shared_ptr<Line> line) : line_(std::move(line)) {}
    const std::shared_ptr<Line> line_; // shared with the thread, which can outlive this object
};

} // namespace lightpen
