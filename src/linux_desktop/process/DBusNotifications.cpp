// SPDX-License-Identifier: MIT
#include "linux_desktop/process/DBusNotifications.h"

#include <string>
#include <utility>

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>

#include "platform/Log.h"

namespace lightpen {

void DBusNotifications::postNotificationName(std::string_view name) {
    runLoop_.performOnMainThread(
        {this, "postNotificationName", std::string(name), [this, text = std::string(name)] { send(text); }});
}

void DBusNotifications::send(const std::string& name) {
    const auto bus = QDBusConnection::sessionBus();
    const auto signal = QDBusMessage::createSignal(QLatin1String(kPath), QLatin1String(kInterface),
                                                   QString::fromStdString(name));
    if (bus.send(signal) || std::exchange(problemLogged_, true))
        return;
    logLine("Notifications: %s cannot be sent to other programs: %s", name.c_str(),
            bus.isConnected() ? "the session bus refuses it"
                              : ("no session bus: " + bus.lastError().message().toStdString()).c_str());
}

} // namespace lightpen
