// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

namespace lightpen {

// The desktop's service for notices, as it looks on the bus. It answers while its thread's event loop runs.
class FakeNotificationServer final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Shown {
        QString title, text;
        QStringList actions; // key, label, key, label, ...
        int expires = 0;     // 0 never, -1 when the desktop likes
    };

    explicit FakeNotificationServer(const std::string& address);
    ~FakeNotificationServer() override;

    // The user chooses an action of the notice with this number, counted from 1, or closes it.
    void choose(unsigned number, const QString& key);
    void close(unsigned number);
    // Tells nonsense of the notice.
    void babble(unsigned number);

    std::vector<Shown> shown;

public Q_SLOTS:
    unsigned Notify(const QString& application, unsigned replaces, const QString& icon, const QString& title,
                    const QString& text, const QStringList& actions, const QVariantMap& hints, int expires);

private:
    void tell(const QString& signal, const QVariantList& arguments);

    QDBusConnection bus_;
};

} // namespace lightpen
