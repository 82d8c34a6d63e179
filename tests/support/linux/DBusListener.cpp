// SPDX-License-Identifier: MIT
#include "support/linux/DBusListener.h"

#include <stdexcept>

namespace lightpen {

DBusListener::DBusListener(const std::string& address, const std::string& interface)
    : bus_(QDBusConnection::connectToBus(QString::fromStdString(address), QStringLiteral("listener"))) {
    if (!bus_.connect({}, {}, QString::fromStdString(interface), {}, this, SLOT(take(QDBusMessage))))
        throw std::runtime_error("cannot listen on the bus");
}

DBusListener::~DBusListener() {
    QDBusConnection::disconnectFromBus(QStringLiteral("listener"));
}

} // namespace lightpen
