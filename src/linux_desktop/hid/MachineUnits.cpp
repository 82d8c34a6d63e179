// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/MachineUnits.h"

#include <utility>

#include "linux_desktop/hid/PermissionCommand.h"

namespace lightpen {

MachineUnits::MachineUnits(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, bool allowed,
                           std::vector<UsbIdentifier> furtherUnits)
    : MachineUnits(registry, runLoop, clock, allowed, Instead{.furtherUnits = std::move(furtherUnits)}) {}

MachineUnits::MachineUnits(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, bool allowed,
                           Instead instead)
    : nodeFolder_(QString::fromStdString(instead.nodeFolder)),
      publisher_(registry, runLoop, clock, std::move(instead.openNode), std::move(instead.furtherUnits)),
      monitor_(publisher_, std::move(instead.isInitialised)) {
    publisher_.allowUnits(allowed);
    QObject::connect(&nodes_, &QFileSystemWatcher::directoryChanged, &nodes_, [this] {
        publisher_.retryShutNodes();
        followNodes();
    });
    if (!monitor_.start())
        return;
    notifier_ = std::make_unique<QSocketNotifier>(monitor_.eventDescriptor(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        monitor_.readEvents();
        followNodes();
    });
    followNodes();
}

void MachineUnits::allow(bool allowed) {
    publisher_.allowUnits(allowed);
    followNodes();
}

std::string MachineUnits::permissionCommand() const {
    const UsbDevice* unit = publisher_.refusedUnit();
    return unit ? commandForPermission({unit->vendorID, unit->productID}) : std::string();
}

// The folder is watched only while somebody waits for a permission.
void MachineUnits::followNodes() {
    const bool watched = !nodes_.directories().isEmpty();
    if (watched && !publisher_.hasShutNode())
        nodes_.removePath(nodeFolder_);
    else if (!watched && publisher_.hasShutNode())
        nodes_.addPath(nodeFolder_);
    if (changed_)
        changed_();
}

} // namespace lightpen
