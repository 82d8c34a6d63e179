// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include <QFileSystemWatcher>
#include <QSocketNotifier>

#include "linux_desktop/hid/UdevMonitor.h"
#include "linux_desktop/hid/UnitPublisher.h"

namespace lightpen {

// The units on the machine's USB, for as long as the loop runs. Made after the application object, on its
// thread.
class MachineUnits {
public:
    // What differs in a test: how nodes are opened, where they lie, and what a simulated udev cannot tell.
    struct Instead {
        OpenHidrawNode openNode = openHidrawNode;
        std::string nodeFolder = "/dev";
        UdevMonitor::IsInitialised isInitialised = {};
    };

    // The registry, the loop and the clock outlive this object. The first units are listed before it returns,
    // if they may be.
    MachineUnits(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, bool allowed);
    MachineUnits(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, bool allowed, Instead instead);
    MachineUnits(const MachineUnits&) = delete;
    MachineUnits& operator=(const MachineUnits&) = delete;

    // Whether units may be listed from now on; see UnitPublisher.
    void allow(bool allowed);

private:
    void watchNodes();

    const QString nodeFolder_;
    UnitPublisher publisher_;
    UdevMonitor monitor_;
    std::unique_ptr<QSocketNotifier> notifier_;
    // A node that may not be read cannot be watched itself; its folder tells of its permissions too.
    QFileSystemWatcher nodes_;
};

} // namespace lightpen
