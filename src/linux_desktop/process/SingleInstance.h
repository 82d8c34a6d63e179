// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <QByteArray>

#include "platform/FileDescriptor.h"

namespace lightpen {

// Keeps a program from running twice for one user: two drivers would both read the unit, and every stroke
// would be drawn twice. The first one holds a lock on the file NAME.lock for as long as this object lives;
// the lock ends with its process, however that ends, while the file stays. Any thread.
class SingleInstance {
public:
    // Takes the lock. When another process holds it, one log line names that process. Without a folder there
    // is no lock; where the file cannot be locked there is none either, and one log line says why.
    explicit SingleInstance(const std::string& name,
                            const std::string& folder = qgetenv("XDG_RUNTIME_DIR").toStdString());

    // Whether another process holds the lock, and this one is to end.
    bool runsAlready() const { return runsAlready_; }

private:
    FileDescriptor lock_;
    bool runsAlready_ = false;
};

} // namespace lightpen
