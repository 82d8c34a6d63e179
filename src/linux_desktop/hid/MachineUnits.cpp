// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/MachineUnits.h"

#include <utility>

namespace lightpen {

MachineUnits::MachineUnits(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, bool allowed)
    : MachineUnits(registry, runLoop, clock, allowed, Instead{}) {}

MachineUnits::MachineUnits(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, bool allowed,
                           Instead instead)
    : nodeFolder_(QString::fromStdString(instead.nodeFolder)),
      publisher_(registry, runLoop, clock, std::move(instead.openNode)),
      monitor_(publisher_, std::move(instead.isInitialised)) {
    publisher_.allowUnits(allowed);
    QObject::connect(&nodes_, &QFileSystemWatcher::directoryChanged, &nodes_, [this] {
        publisher_.retryShutNodes();
        watchNodes();
    });
    if (!monitor_.start())
        return;
    notifier_ = std::make_unique<QSocketNotifier>(monitor_.eventDescriptor(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        monitor_.readEvents();
        watchNodes();
    });
    watchNodes();
}

void MachineUnits::allow(bool allowed) {
    publisher_.allowUnits(allowed);
    watchNodes();
}

// The folder is watched only while somebody waits for a permission.
void MachineUnits::watchNodes() {
    const bool watched = !nodes_.directories().isEmpty();
    if (publisher_.hasShutNode() == watched)
        return;
    if (watched)
        nodes_.removePath(nodeFolder_);
    else
        nodes_.addPath(nodeFolder_);
}

} // namespace lightpen
