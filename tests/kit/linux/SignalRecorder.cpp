// SPDX-License-Identifier: MIT
#include "kit/linux/SignalRecorder.h"

#include <stdexcept>

namespace lightpen {

SignalRecorder::SignalRecorder(const std::string& address, const std::string& interface)
    : bus_(QDBusConnection::connectToBus(QString::fromStdString(address), QStringLiteral("listener"))) {
    if (!bus_.connect({}, {}, QString::fromStdString(interface), {}, this, SLOT(take(QDBusMessage))))
        throw std::runtime_error("cannot listen on the bus");
}

SignalRecorder::~SignalRecorder() {
    QDBusConnection::disconnectFromBus(QStringLiteral("listener"));
}

} // namespace lightpen
