// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/DesktopNotices.h"

#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>

#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";
constexpr const char* kIcon = "org.lightpen.LightPenNX7";
constexpr std::uint32_t kNewNotice = 0;
constexpr int kUntilClosed = 0;
constexpr int kAsTheDesktopDoes = -1; // which is some seconds

// Each action's key is its place in the list. The body is markup for most servers.
QDBusMessage callFor(const UserNotice& notice) {
    QStringList actions;
    for (std::size_t i = 0; i < notice.actions.size(); ++i)
        actions << QString::number(i) << QString::fromStdString(notice.actions[i].label);
    auto call = QDBusMessage::createMethodCall(QLatin1String(kService), QLatin1String(kPath),
                                               QLatin1String(kService), QStringLiteral("Notify"));
    call << QStringLiteral("LightPenNX7") << kNewNotice << QLatin1String(kIcon)
         << QString::fromStdString(notice.title) << QString::fromStdString(notice.text).toHtmlEscaped()
         << actions << QVariantMap{{QStringLiteral("desktop-entry"), QLatin1String(kIcon)}}
         << (notice.goesByItself ? kAsTheDesktopDoes : kUntilClosed);
    return call;
}

} // namespace

// One connection for all notices of the process; other programs' numbers are not among ours.
void DesktopNotices::listen() {
    if (std::exchange(listens_, true))
        return;
    auto bus = QDBusConnection::sessionBus();
    // With its types, or the library would end the program over a list where the slot has a plain value.
    const auto connect = [&](const char* signal, const char* types, const char* slot) {
        if (!bus.connect(QLatin1String(kService), QLatin1String(kPath), QLatin1String(kService),
                         QLatin1String(signal), QLatin1String(types), this, slot) &&
            bus.isConnected())
            logLine("Notices: what the user chooses in them will not be heard");
    };
    connect("ActionInvoked", "us", SLOT(actionInvoked(uint, QString)));
    connect("NotificationClosed", "uu", SLOT(notificationClosed(uint, uint)));
}

void DesktopNotices::show(UserNotice notice) {
    listen();
    auto* watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(callFor(notice)), this);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this,
                     [this, watcher, notice = std::move(notice)]() mutable {
                         const QDBusPendingReply<std::uint32_t> reply = *watcher;
                         watcher->deleteLater();
                         if (reply.isValid())
                             shown_[reply.value()] = std::move(notice);
                         else
                             logLine("Notices: %s: %s", notice.title.c_str(), notice.text.c_str());
                     });
}

void DesktopNotices::actionInvoked(uint number, const QString& key) {
    const auto found = shown_.find(number);
    bool isNumber = false;
    const std::size_t chosen = key.toULongLong(&isNumber);
    if (found == shown_.end() || !isNumber || chosen >= found->second.actions.size())
        return;
    const auto perform = std::move(found->second.actions[chosen].chosen);
    shown_.erase(found);
    perform();
}

void DesktopNotices::notificationClosed(uint number, uint) {
    shown_.erase(number);
}

} // namespace lightpen
