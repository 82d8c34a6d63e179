// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

class QDBusPendingCallWatcher;

namespace lightpen {

// The primary output as mutter, the compositor of GNOME, tells it on the session bus. Main thread.
class MutterOutputs final : public QObject {
    Q_OBJECT

public:
    // Asks, and goes on asking whenever mutter starts or its outputs change. The first answer is waited for
    // by settle() alone, and counts later than that too. The handler is called when name() has changed.
    MutterOutputs(std::function<void()> changed, std::chrono::milliseconds patience);

    // Waits for the first answer, no longer than the patience allows, counted from the question.
    void settle();
    // The connector ("HDMI-1"), which is the output's name under Wayland; empty while nobody says.
    const std::string& name() const { return name_; }

private Q_SLOTS:
    // The bus library calls slots by their names only.
    void ask();

private:
    void askFor(std::chrono::milliseconds patience);
    void take(QDBusPendingCallWatcher* answer);
    void set(std::string name);

    const std::function<void()> changed_;
    QDBusConnection bus_ = QDBusConnection::sessionBus();
    QDBusServiceWatcher names_;
    QDBusPendingCallWatcher* answer_ = nullptr; // to the last question; a child
    std::string name_;
    bool misunderstood_ = false; // and said so
};

} // namespace lightpen
