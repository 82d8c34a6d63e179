// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <string>

#include "platform/FileDescriptor.h"

namespace lightpen::test {

// What a desktop would be told by the driver's pointer device: its evdev node.
class PointerWatch {
public:
    // Waits for the device of this name; without it, nothing is ever seen.
    explicit PointerWatch(const std::string& name = "LightPenNX7 pointer");

    bool found() const { return node_ && state_; }
    // So often the left button was pressed, and released, since the start.
    int presses();
    int releases();
    // Waits until there were so many.
    bool waitForPresses(int count, std::chrono::milliseconds patience = std::chrono::seconds(10));
    // Whether the kernel holds the left or the right button down.
    bool buttonDown();

private:
    void readAll();

    FileDescriptor node_;
    // For questions only: the kernel throws the unread events of a descriptor away when it answers one.
    FileDescriptor state_;
    int presses_ = 0;
    int releases_ = 0;
};

} // namespace lightpen::test
