// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

class QDBusPendingCallWatcher;

namespace lightpen {

// Finds out whether a panel shows status items that are announced on the session bus. Main thread.
class StatusNotifierHosts final : public QObject {
    Q_OBJECT

public:
    // A panel that is just starting may be slow to answer.
    static constexpr std::chrono::milliseconds kPatience{500};

    // The handler is called from the main loop each time there may have come one; search() then says, and
    // waits for the answer for at most that long.
    explicit StatusNotifierHosts(std::function<void()> found, std::chrono::milliseconds patience = kPatience);

    // Asks whether there is one now. A later answer, and a panel that comes later, calls the handler. Without
    // a session bus there is none.
    bool search();

private Q_SLOTS:
    // The bus library calls slots by their names only.
    void ask();

private:
    void take(QDBusPendingCallWatcher* answer);

    const std::function<void()> found_;
    const std::chrono::milliseconds patience_;
    QDBusConnection bus_ = QDBusConnection::sessionBus();
    QDBusServiceWatcher names_;
};

} // namespace lightpen
