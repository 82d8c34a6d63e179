// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QVariantList>
#include <QVariantMap>

#include "platform/RunLoop.h"

namespace lightpen {

// The user's session as logind (on the system bus) and the desktop's screen saver (on the session bus) tell
// of it. Where nobody tells anything it is active and not locked, and the machine is awake. Main thread.
class UserSession final : public QObject {
    Q_OBJECT

public:
    // How long the machine's sleep is held up, so that a stroke is let go of before it.
    static constexpr Microseconds kReleaseTime{100'000};
    // How long the wish to lock counts that nobody follows. A locker is there by then, and tells so itself.
    static constexpr Microseconds kLockTime{10'000'000};

    // Needs the application object; the loop outlives this. Asks logind how things are, which it must answer
    // within a second, or it counts as absent with one log line.
    explicit UserSession(RunLoop& runLoop);
    ~UserSession() override;

    // The function is called when an answer below may have changed.
    void setObserver(std::function<void()> changed) { changed_ = std::move(changed); }
    // Whether the user is the one at the machine, and the machine awake.
    bool hasTheSeat() const { return active_ && !asleep_; }
    // Whether the screen is locked or about to be, or the user has not got the seat.
    bool isCovered() const;

private Q_SLOTS:
    // The bus library calls slots by their names only.
    void takeProperties(const QDBusMessage& message);
    void takeLock();
    void takeUnlock();
    void takeSleep(bool begins);
    void takeScreenSaver(const QDBusMessage& message);

private:
    void ask();
    std::optional<QVariantList> call(const QString& path, const char* interface, const char* member,
                                     const QVariantList& arguments);
    void follow(const QString& session);
    void readProperties();
    void takeState(const QVariantMap& properties);
    void takeActive(bool active);
    void setAboutToLock(bool about);
    void inhibitSleep();
    void tell();

    RunLoop& runLoop_;
    std::function<void()> changed_;
    QDBusConnection system_ = QDBusConnection::systemBus();
    QDBusConnection user_ = QDBusConnection::sessionBus();
    QDBusServiceWatcher logind_;
    QDBusServiceWatcher screenSavers_; // those that are active, by the names of their connections
    QString session_;                  // its object; empty when logind knows of none
    QDBusUnixFileDescriptor inhibitor_;
    bool aboutToLock_ = false; // for a while after the session was asked to
    bool active_ = true;
    bool asleep_ = false;
    bool locked_ = false;
};

} // namespace lightpen
