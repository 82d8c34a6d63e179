// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "linux_desktop/hid/UnitPublisher.h"

struct udev;
struct udev_device;
struct udev_monitor;

namespace lightpen {

// Everything about a hidraw node; none for one that belongs to no USB device, or whose device is going.
// Initialised says whether udev has applied its rules to it.
std::optional<HidNode> hidNodeOf(udev_device* device, bool initialised);

// The nodes of all USB devices that are plugged in now, in the order of their paths in sysfs; none without
// udev.
std::optional<std::vector<HidNode>> hidNodesOfTheMachine();

// Watches the USB devices and their hidraw nodes through udev, and tells the publisher of them. Main thread.
class UdevMonitor {
public:
    // Whether udev has applied its rules to a device that is there at the start; devices that it tells of
    // later are always done.
    using IsInitialised = std::function<bool(udev_device* device)>;

    // Watches nothing before start. The publisher outlives the monitor. A simulated udev cannot tell whether
    // devices are initialised; a test says it instead.
    explicit UdevMonitor(UnitPublisher& units, IsInitialised instead = {});
    UdevMonitor(const UdevMonitor&) = delete;
    UdevMonitor& operator=(const UdevMonitor&) = delete;

    // Begins to watch, then tells of all nodes: nothing that happens in between is missed. False, with a log
    // line, when there is no udev: no unit is ever found then.
    bool start();
    // Readable when there is something to read; -1 before start.
    int eventDescriptor() const;
    // Tells of what has happened since the last call. Does not block.
    void readEvents();

private:
    bool enumerate();
    void tell(udev_device* device);

    UnitPublisher& units_;
    const IsInitialised isInitialised_;
    std::shared_ptr<udev> udev_;
    std::shared_ptr<udev_monitor> monitor_;
};

} // namespace lightpen
