// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "linux_desktop/hid/UdevMonitor.h"
#include "linux_desktop/hid/UnitPublisher.h"

namespace lightpen {

// Keeps the registry in step with the camera units on this machine's USB bus. To be put together like this:
//
//     UdevRegistry units(registry, runLoop, clock);
//     if (units.start()) {
//         notifier = new QSocketNotifier(units.eventDescriptor(), QSocketNotifier::Read);
//         connect(notifier, &QSocketNotifier::activated, [&] { units.readEvents(); });
//     }
//
// Main thread.
class UdevRegistry {
public:
    // The registry, the loop and the clock outlive this object, and the device interfaces and queues too.
    UdevRegistry(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock)
        : publisher_(registry, runLoop, clock), monitor_(listener(publisher_)) {}
    // For tests: other ways to open a node and to tell whether udev is done with a device.
    UdevRegistry(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, UnitPublisher::OpenNode openNode,
                 UdevMonitor::IsInitialised isInitialised)
        : publisher_(registry, runLoop, clock, std::move(openNode)),
          monitor_(listener(publisher_), std::move(isInitialised)) {}

    // Lists the units that are ready now, and begins to watch. False, with a log line, when there is no udev:
    // no unit is ever found then.
    bool start() { return monitor_.start(); }
    // Readable when something has happened on the bus; -1 before start.
    int eventDescriptor() const { return monitor_.eventDescriptor(); }
    // Lists and withdraws according to what has happened. Does not block.
    void readEvents() { monitor_.readEvents(); }

private:
    static BusListener listener(UnitPublisher& publisher) {
        return {[&](const std::vector<HidNode>& nodes) { publisher.allNodes(nodes); },
                [&](const HidNode& node) { publisher.nodeSeen(node); },
                [&](const std::string& path) { publisher.nodeGone(path); },
                [&](const std::string& path) { publisher.deviceGone(path); }};
    }

    UnitPublisher publisher_;
    UdevMonitor monitor_;
};

} // namespace lightpen
