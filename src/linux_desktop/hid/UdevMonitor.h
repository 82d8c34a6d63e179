// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux_desktop/hid/UnitReadiness.h"

struct udev;
struct udev_device;
struct udev_monitor;

namespace lightpen {

// Who is told what happens on the bus.
struct BusListener {
    // All hidraw nodes of USB devices that there are now; at the start, and after events were lost.
    std::function<void(const std::vector<HidNode>& nodes)> allNodes;
    std::function<void(const HidNode& node)> nodeSeen;
    // By sysfs path.
    std::function<void(const std::string& path)> nodeGone;
    std::function<void(const std::string& path)> deviceGone;
};

// Watches the USB devices and their hidraw nodes through udev. One thread.
class UdevMonitor {
public:
    // Whether udev has applied its rules to a device that is there at the start; devices that it tells of
    // later are always done.
    using IsInitialised = std::function<bool(udev_device* device)>;

    // Watches nothing before start; the listener is called from within start and readEvents.
    explicit UdevMonitor(BusListener listener);
    // A simulated udev cannot tell whether devices are initialised; a test says it instead.
    UdevMonitor(BusListener listener, IsInitialised isInitialised);
    ~UdevMonitor();
    UdevMonitor(const UdevMonitor&) = delete;
    UdevMonitor& operator=(const UdevMonitor&) = delete;

    // Begins to watch, then tells of all nodes: nothing that happens in between is missed. False, with a log
    // line, when there is no udev.
    bool start();
    // Readable when there is something to read; -1 before start.
    int eventDescriptor() const;
    // Tells of what has happened since the last call. Does not block.
    void readEvents();

private:
    struct Release {
        void operator()(udev* context) const;
        void operator()(udev_device* device) const;
        void operator()(udev_monitor* monitor) const;
    };
    using Device = std::unique_ptr<udev_device, Release>;

    bool enumerate();
    void tell(udev_device* device);
    static std::optional<HidNode> hidNode(udev_device* device, bool initialised);

    const BusListener listener_;
    const IsInitialised isInitialised_;
    std::unique_ptr<udev, Release> udev_;
    std::unique_ptr<udev_monitor, Release> monitor_;
};

} // namespace lightpen
