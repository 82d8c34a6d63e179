// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "linux_desktop/pointer/LinuxPointer.h"
#include "platform/FileDescriptor.h"

struct input_event;
struct libevdev;
struct libevdev_uinput;

namespace lightpen {

inline constexpr const char* kUinputPath = "/dev/uinput";

// A pointer device of the kernel that this process plays. It vanishes with its last owner.
struct UinputDevice {
    FileDescriptor events; // takes input_event records
    std::shared_ptr<libevdev_uinput> device;
};

// What the device tells desktops about itself: a mouse with two absolute axes.
std::shared_ptr<libevdev> describeUinputPointer();

// Creates the device; none, and the reason, when the node cannot be opened or does not create devices.
std::optional<UinputDevice> openUinputDevice(const char* path, std::string& problem);

// Injects events through a device of the kernel, which X11 and Wayland desktops both follow.
class UinputPointer final : public PointerDevice {
public:
    explicit UinputPointer(UinputDevice device) : device_(std::move(device)) {}
    IOReturn send(std::optional<Place> place, Button button, bool press) override;

private:
    IOReturn write(std::span<const input_event> records);

    const UinputDevice device_;
    bool failureLogged_ = false;
};

} // namespace lightpen
