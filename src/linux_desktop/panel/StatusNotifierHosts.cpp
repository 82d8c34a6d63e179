// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/StatusNotifierHosts.h"

#include <utility>

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace lightpen {

namespace {

constexpr QLatin1String kService{"org.kde.StatusNotifierWatcher"};
constexpr QLatin1String kPath{"/StatusNotifierWatcher"};
constexpr std::chrono::milliseconds kLaterPatience{25'000};

QDBusPendingCall askForHost(const QDBusConnection& bus, std::chrono::milliseconds patience) {
    auto message = QDBusMessage::createMethodCall(
        kService, kPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message.setArguments({QString(kService), QStringLiteral("IsStatusNotifierHostRegistered")});
    message.setAutoStartService(false); // to ask must not bring a panel's service up
    return bus.asyncCall(message, static_cast<int>(patience.count()));
}

bool saysYes(const QDBusPendingCall& call) {
    const QDBusPendingReply<QDBusVariant> reply = call;
    return reply.isValid() && reply.value().variant().toBool();
}

// Somebody of that name is there and has not answered, so the question is still open.
bool isOpen(const QDBusPendingCall& call) {
    return call.isError() && call.error().type() == QDBusError::NoReply;
}

} // namespace

StatusNotifierHosts::StatusNotifierHosts(std::function<void()> found, std::chrono::milliseconds patience)
    : found_(std::move(found)), patience_(patience), names_(kService, bus_) {
    connect(&names_, &QDBusServiceWatcher::serviceRegistered, this, &StatusNotifierHosts::ask);
    // Without a bus this fails like everything else, and nobody ever comes.
    bus_.connect(kService, kPath, kService, QStringLiteral("StatusNotifierHostRegistered"), this,
                 SLOT(ask()));
}

bool StatusNotifierHosts::search() {
    QDBusPendingCall call = askForHost(bus_, patience_);
    call.waitForFinished();
    if (isOpen(call))
        ask();
    return saysYes(call);
}

void StatusNotifierHosts::ask() {
    auto* answer = new QDBusPendingCallWatcher(askForHost(bus_, kLaterPatience), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, &StatusNotifierHosts::take);
}

void StatusNotifierHosts::take(QDBusPendingCallWatcher* answer) {
    answer->deleteLater();
    if (isOpen(*answer))
        ask();
    else if (saysYes(*answer))
        found_();
}

} // namespace lightpen
