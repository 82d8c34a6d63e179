// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/LatePointer.h"

namespace lightpen {

LatePointer::LatePointer(LinuxPointer& pointer, const QString& folder) : pointer_(pointer) {
    if (pointer_.hasWay())
        return;
    QObject::connect(&devices_, &QFileSystemWatcher::directoryChanged, &devices_, [this] { tryAgain(); });
    // A node that may not be opened cannot be watched itself; its folder tells of its permissions too.
    devices_.addPath(folder);
}

void LatePointer::tryAgain() {
    if (!devices_.directories().isEmpty() && pointer_.findWay())
        devices_.removePaths(devices_.directories());
}

} // namespace lightpen
