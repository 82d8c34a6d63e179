// SPDX-License-Identifier: MIT
#include "kit/linux/FakeRealtimeKit.h"

#include <stdexcept>

#include <QDBusError>

namespace lightpen {

FakeRealtimeKit::FakeRealtimeKit(const std::string& address)
    : bus_(QDBusConnection::connectToBus(QString::fromStdString(address), QStringLiteral("rtkit"))) {
    if (!bus_.registerObject(QStringLiteral("/org/freedesktop/RealtimeKit1"), this,
                             QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties) ||
        !bus_.registerService(QStringLiteral("org.freedesktop.RealtimeKit1")))
        throw std::runtime_error("cannot serve on the bus");
}

FakeRealtimeKit::~FakeRealtimeKit() {
    QDBusConnection::disconnectFromBus(QStringLiteral("rtkit"));
}

void FakeRealtimeKit::MakeThreadRealtime(qulonglong thread, uint priority) {
    requests.emplace_back(thread, priority);
    if (refuses)
        sendErrorReply(QDBusError::AccessDenied, QStringLiteral("not today"));
}

} // namespace lightpen
