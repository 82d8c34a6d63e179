// SPDX-License-Identifier: MIT
#pragma once

#include "platform/ApplicationShell.h"
#include "platform/DataFiles.h"
#include "platform/Defaults.h"
#include "platform/Desktop.h"
#include "platform/Notifications.h"
#include "platform/PointerEvents.h"
#include "platform/RunLoop.h"
#include "platform/ServiceRegistry.h"
#include "platform/Sounds.h"
#include "platform/SystemUI.h"
#include "platform/Threads.h"
#include "platform/Time.h"

namespace lightpen {

// Everything the system takes from its desktop. Put together once by the process entry, or by a test; the
// parts are owned by whoever put it together and outlive the system.
struct Platform {
    ServiceRegistry& registry;
    PointerEvents& pointer;
    RunLoop& runLoop;
    Clock& clock;
    Threads& threads;
    NotificationCenter& notifications;
    DistributedNotificationCenter& distributedNotifications;
    Desktop& desktop;
    UserDefaults& defaults;
    SystemUI& systemUI;
    Sounds& sounds;
    DataFiles& dataFiles;
    ApplicationShell& shell;

    // The platform of this process; ends the program with a message when none was set.
    static Platform& current() {
        if (!inUse)
            endWithoutOne();
        return *inUse;
    }
    // Before anything uses the platform; not owned. Null takes it away.
    static void setCurrent(Platform* platform) { inUse = platform; }

private:
    [[noreturn]] static void endWithoutOne();
    static inline Platform* inUse = nullptr;
};

} // namespace lightpen
