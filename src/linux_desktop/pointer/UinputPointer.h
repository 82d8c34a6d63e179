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

// What the device tells desktops about itself: a mouse with two absolute axes.
std::shared_ptr<libevdev> describeUinputPointer();

// Injects events through a device of the kernel that this process plays, which X11 and Wayland desktops both
// follow.
class UinputPointer final : public PointerDevice {
public:
    // Creates the device; null, and the reason, when the node cannot be opened or does not create devices.
    static std::unique_ptr<UinputPointer> create(const char* path, std::string& problem);
    // Why the node cannot be opened; empty when it can.
    static std::string problemOf(const char* path);
    // Over what takes input_event records; the device is destroyed with the pointer.
    explicit UinputPointer(FileDescriptor events, std::shared_ptr<libevdev_uinput> device = {})
        : events_(std::move(events)), device_(std::move(device)) {}
    IOReturn send(std::optional<Place> place, Button button, bool press) override;

private:
    IOReturn write(std::span<const input_event> records);

    const FileDescriptor events_;
    const std::shared_ptr<libevdev_uinput> device_;
    bool failureLogged_ = false;
};

} // namespace lightpen
