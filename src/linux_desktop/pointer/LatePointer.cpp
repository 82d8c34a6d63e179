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
    if (pointer_.hasWay() || !pointer_.findWay())
        return;
    if (const QStringList watched = devices_.directories(); !watched.isEmpty())
        devices_.removePaths(watched);
}

} // namespace lightpen
