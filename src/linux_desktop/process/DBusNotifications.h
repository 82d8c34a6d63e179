// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "platform/Notifications.h"
#include "platform/RunLoop.h"

namespace lightpen {

// System-wide notifications as signals on the session bus, without arguments, described in
// resources/org.lightpen.NX7.xml. The poster never waits for the bus: the main loop sends them.
class DBusNotifications final : public DistributedNotificationCenter {
public:
    static constexpr const char* kPath = "/org/lightpen/NX7";
    static constexpr const char* kInterface = "org.lightpen.NX7";

    // The loop outlives the centre, and the centre what it has posted to the loop.
    explicit DBusNotifications(RunLoop& runLoop) : runLoop_(runLoop) {}

    // Without a session bus, one log line for all times, and nothing.
    void postNotificationName(std::string_view name) override;

private:
    void send(const std::string& name);

    RunLoop& runLoop_;
    bool problemLogged_ = false; // main thread
};

} // namespace lightpen
