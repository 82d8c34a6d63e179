// SPDX-License-Identifier: MIT
#pragma once

#include <QFileSystemWatcher>
#include <QString>

#include "linux_desktop/pointer/LinuxPointer.h"

namespace lightpen {

// Gives a pointer that no way could be opened for another chance, whenever something has changed among the
// devices: who may open them follows the user at the machine, and may be allowed late. Needs the application
// object. Main thread.
class LatePointer {
public:
    // The pointer outlives this; the folder is that of the devices.
    explicit LatePointer(LinuxPointer& pointer, const QString& folder = QStringLiteral("/dev"));
    LatePointer(const LatePointer&) = delete;
    LatePointer& operator=(const LatePointer&) = delete;

    // A chance now. Nothing happens once there is a way.
    void tryAgain();

private:
    LinuxPointer& pointer_;
    QFileSystemWatcher devices_; // nothing is watched any more once there is a way
};

} // namespace lightpen
