// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QThread>

#include "platform/FileDescriptor.h"

namespace lightpen {

// A session of logind's, as it looks on the bus.
class FakeLogindSession final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Session")
    Q_PROPERTY(bool Active MEMBER active)
    Q_PROPERTY(bool LockedHint MEMBER locked)

public:
    bool active = true;
    bool locked = false;
    // Called when a program asks for the hint.
    std::function<void(bool locked)> hinted;

public Q_SLOTS:
    void SetLockedHint(bool hint) { hinted(hint); }

Q_SIGNALS:
    void Lock();
    void Unlock();
};

// Logind with the session of the caller, as it looks on the bus. It speaks and answers while its thread's
// event loop runs.
class FakeLogind final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")
    Q_PROPERTY(bool PreparingForSleep MEMBER sleeping)

public:
    explicit FakeLogind(const std::string& address);
    ~FakeLogind() override;

    // Change the session, or the machine, and tell everyone.
    void setActive(bool active);
    void setLocked(bool locked);
    // The same, but tells only that it is another one now.
    void setLockedWithoutSaying(bool locked);
    void sleep(bool begins);
    // Tells nonsense.
    void babble();
    // Whether somebody holds the machine's sleep up now.
    bool isHeldUp() const;

    FakeLogindSession session;
    bool sleeping = false;
    // Whether the caller is known to be in a session.
    bool knowsSession = true;
    // What was asked for with each request to hold the sleep up: "what|who|mode".
    std::vector<std::string> inhibitions;

public Q_SLOTS:
    QDBusObjectPath GetSession(const QString& name);
    QDBusObjectPath GetSessionByPID(uint process);
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why,
                                    const QString& mode);

Q_SIGNALS:
    void PrepareForSleep(bool begins);

private:
    void tell(const QVariantList& arguments);

    const QString connection_; // one for each bus
    QDBusConnection bus_;
    FileDescriptor reader_; // of the last answer to Inhibit; its other end closes with the asker
};

// Logind on a thread of its own, so that it answers somebody who waits for it.
class LogindProgram {
public:
    // Set up before anybody can ask it.
    explicit LogindProgram(const std::string& address, std::function<void(FakeLogind&)> setUp = {});
    ~LogindProgram();
    LogindProgram(const LogindProgram&) = delete;
    LogindProgram& operator=(const LogindProgram&) = delete;

    // Returns when it is done, on that thread.
    void perform(const std::function<void(FakeLogind&)>& what);
    // Logind does nothing until the function it returns is called.
    std::function<void()> holdUp();

private:
    QThread thread_;
    QObject there_;
    std::unique_ptr<FakeLogind> logind_;
};

} // namespace lightpen
