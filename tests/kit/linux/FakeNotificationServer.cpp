// SPDX-License-Identifier: MIT
#include "kit/linux/FakeNotificationServer.h"

#include <stdexcept>

#include <QDBusMessage>

namespace lightpen {

namespace {

constexpr QLatin1String kName{"org.freedesktop.Notifications"};
constexpr QLatin1String kPath{"/org/freedesktop/Notifications"};
constexpr unsigned kClosedByUser = 2;

} // namespace

FakeNotificationServer::FakeNotificationServer(const std::string& address)
    : bus_(QDBusConnection::connectToBus(QString::fromStdString(address), QStringLiteral("notices"))) {
    if (!bus_.registerObject(kPath, this, QDBusConnection::ExportAllSlots) || !bus_.registerService(kName))
        throw std::runtime_error("cannot serve on the bus");
}

FakeNotificationServer::~FakeNotificationServer() {
    QDBusConnection::disconnectFromBus(QStringLiteral("notices"));
}

unsigned FakeNotificationServer::Notify(const QString&, unsigned, const QString&, const QString& title,
                                        const QString& text, const QStringList& actions, const QVariantMap&,
                                        int expires) {
    shown.push_back({title, text, actions, expires});
    return static_cast<unsigned>(shown.size());
}

void FakeNotificationServer::tell(const QString& signal, const QVariantList& arguments) {
    auto message = QDBusMessage::createSignal(kPath, kName, signal);
    message.setArguments(arguments);
    bus_.send(message);
}

void FakeNotificationServer::choose(unsigned number, const QString& key) {
    tell(QStringLiteral("ActionInvoked"), {number, key});
}

void FakeNotificationServer::close(unsigned number) {
    tell(QStringLiteral("NotificationClosed"), {number, kClosedByUser});
}

void FakeNotificationServer::babble(unsigned number) {
    const auto list = QVariant::fromValue(QList<int>{1});
    for (const auto& signal : {QStringLiteral("ActionInvoked"), QStringLiteral("NotificationClosed")})
        for (const QVariantList& arguments :
             {QVariantList{}, QVariantList{number}, QVariantList{number, list},
              QVariantList{list, QStringLiteral("0")}})
            tell(signal, arguments);
}

} // namespace lightpen
