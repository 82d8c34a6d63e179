// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

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
        std::vector<UsbIdentifier> furtherUnits = {};
    };

    // The registry, the loop and the clock outlive this object. The first units are listed before it returns,
    // if they may be.
    MachineUnits(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, bool allowed,
                 std::vector<UsbIdentifier> furtherUnits = {});
    MachineUnits(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, bool allowed, Instead instead);
    MachineUnits(const MachineUnits&) = delete;
    MachineUnits& operator=(const MachineUnits&) = delete;

    // Whether units may be listed from now on; see UnitPublisher.
    void allow(bool allowed);
    // The command that lets the user open a unit which is shut to him, to be run in a terminal; empty while
    // there is none.
    std::string permissionCommand() const;
    // The function is called when that may have changed.
    void setObserver(std::function<void()> changed) { changed_ = std::move(changed); }

private:
    void followNodes();

    const QString nodeFolder_;
    UnitPublisher publisher_;
    UdevMonitor monitor_;
    std::unique_ptr<QSocketNotifier> notifier_;
    // A node that may not be read cannot be watched itself; its folder tells of its permissions too.
    QFileSystemWatcher nodes_;
    std::function<void()> changed_;
};

} // namespace lightpen
