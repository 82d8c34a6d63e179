// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>

#include <QObject>
#include <QString>

#include "platform/UserNotices.h"

namespace lightpen {

// Notices through org.freedesktop.Notifications on the session bus. Main thread.
class DesktopNotices final : public QObject, public UserNotices {
    Q_OBJECT

public:
    void show(UserNotice notice) override;

private Q_SLOTS:
    void actionInvoked(uint number, const QString& key);
    void notificationClosed(uint number, uint reason);

private:
    void listen();

    bool listens_ = false;
    // What is shown, by the desktop's number for it.
    std::map<std::uint32_t, UserNotice> shown_;
};

} // namespace lightpen
