// SPDX-License-Identifier: MIT
#include "linux_desktop/process/UserSession.h"

#include <utility>

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr QLatin1String kService{"org.freedesktop.login1"};
constexpr QLatin1String kManagerPath{"/org/freedesktop/login1"};
constexpr const char* kManager = "org.freedesktop.login1.Manager";
constexpr const char* kSession = "org.freedesktop.login1.Session";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr QLatin1String kActive{"Active"};
constexpr QLatin1String kLockedHint{"LockedHint"};

constexpr int kAnswerMilliseconds = 1000;
constexpr const char* kLetSleep = "letSleep";
constexpr const char* kForgetLock = "forgetLock";

QString text(const char* name) {
    return QString::fromLatin1(name);
}

} // namespace

UserSession::UserSession(RunLoop& runLoop) : runLoop_(runLoop) {
    screenSavers_.setConnection(user_);
    screenSavers_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&screenSavers_, &QDBusServiceWatcher::serviceUnregistered, this, [this](const QString& service) {
        screenSavers_.removeWatchedService(service);
        tell();
    });
    for (const char* interface : {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver"})
        user_.connect(QString(), QString(), text(interface), QStringLiteral("ActiveChanged"), this,
                      SLOT(takeScreenSaver(QDBusMessage)));
    logind_.setConnection(system_);
    logind_.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    logind_.addWatchedService(kService);
    connect(&logind_, &QDBusServiceWatcher::serviceRegistered, this, [this] {
        ask();
        tell();
    });
    // With its types, or the library would end the program over a list where the slot has a plain value.
    system_.connect(kService, kManagerPath, text(kManager), QStringLiteral("PrepareForSleep"),
                    QStringLiteral("b"), this, SLOT(takeSleep(bool)));
    ask();
}

UserSession::~UserSession() {
    for (const char* request : {kLetSleep, kForgetLock})
        runLoop_.cancelPreviousPerformRequests(this, request, {});
}

bool UserSession::isCovered() const {
    return !hasTheSeat() || locked_ || aboutToLock_ || !screenSavers_.watchedServices().isEmpty();
}

void UserSession::ask() {
    if (!system_.isConnected())
        return;
    const auto sleeping =
        call(kManagerPath, kProperties, "Get", {text(kManager), QStringLiteral("PreparingForSleep")});
    if (!sleeping) // nor would it answer the others
        return;
    asleep_ = !sleeping->isEmpty() && sleeping->front().value<QDBusVariant>().variant().toBool();
    // The session of a program that is in none itself is the one that the user sees.
    const auto session = call(kManagerPath, kManager, "GetSession", {QStringLiteral("auto")});
    if (session && !session->isEmpty())
        follow(session->front().value<QDBusObjectPath>().path());
    if (!asleep_)
        inhibitSleep();
}

// Its arguments; none when it failed. A service that is not there is not started for this.
std::optional<QVariantList> UserSession::call(const QString& path, const char* interface, const char* member,
                                              const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(kService, path, text(interface), text(member));
    message.setArguments(arguments);
    message.setAutoStartService(false);
    const QDBusMessage reply = system_.call(message, QDBus::Block, kAnswerMilliseconds);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return reply.arguments();
    const auto error = QDBusError(reply).type();
    if (error == QDBusError::NoReply || error == QDBusError::TimedOut)
        logLine("Session: logind does not answer; it is not followed");
    return std::nullopt;
}

void UserSession::follow(const QString& session) {
    if (session != session_) {
        session_ = session;
        system_.connect(kService, session, text(kProperties), QStringLiteral("PropertiesChanged"), this,
                        SLOT(takeProperties(QDBusMessage)));
        system_.connect(kService, session, text(kSession), QStringLiteral("Lock"), this, SLOT(takeLock()));
        system_.connect(kService, session, text(kSession), QStringLiteral("Unlock"), this,
                        SLOT(takeUnlock()));
    }
    readProperties();
}

void UserSession::readProperties() {
    const auto all = call(session_, kProperties, "GetAll", {text(kSession)});
    if (all && !all->isEmpty())
        takeState(qdbus_cast<QVariantMap>(all->front()));
}

void UserSession::takeProperties(const QDBusMessage& message) {
    if (message.signature() != QLatin1String("sa{sv}as") ||
        message.arguments().front().toString() != QLatin1String(kSession))
        return;
    const auto unsaid = message.arguments().at(2).toStringList();
    if (unsaid.contains(kActive) || unsaid.contains(kLockedHint))
        readProperties();
    else
        takeState(qdbus_cast<QVariantMap>(message.arguments().at(1)));
    tell();
}

void UserSession::takeState(const QVariantMap& properties) {
    if (const auto active = properties.find(kActive); active != properties.end())
        takeActive(active->toBool());
    if (const auto locked = properties.find(kLockedHint); locked != properties.end()) {
        locked_ = locked->toBool();
        setAboutToLock(false);
    }
}

void UserSession::takeActive(bool active) {
    if (std::exchange(active_, active) != active)
        logLine("Session: %s", active ? "active; the camera unit is the user's"
                                      : "inactive; the camera unit is left to whoever is active");
}

void UserSession::setAboutToLock(bool about) {
    aboutToLock_ = about;
    runLoop_.cancelPreviousPerformRequests(this, kForgetLock, {});
    if (about)
        runLoop_.performAfterDelay({this, kForgetLock, {}, [this] { takeUnlock(); }}, kLockTime);
}

void UserSession::takeLock() {
    setAboutToLock(true);
    tell();
}

void UserSession::takeUnlock() {
    setAboutToLock(false);
    tell();
}

void UserSession::takeSleep(bool begins) {
    runLoop_.cancelPreviousPerformRequests(this, kLetSleep, {});
    logLine("Session: the machine %s", begins ? "goes to sleep" : "is awake");
    asleep_ = begins;
    tell();
    if (begins)
        runLoop_.performAfterDelay({this, kLetSleep, {}, [this] { inhibitor_ = {}; }}, kReleaseTime);
    else
        inhibitSleep();
}

// A desktop tells the same from several of its objects.
void UserSession::takeScreenSaver(const QDBusMessage& message) {
    if (message.signature() != QLatin1String("b"))
        return;
    if (!message.arguments().front().toBool())
        screenSavers_.removeWatchedService(message.service());
    else if (!screenSavers_.watchedServices().contains(message.service()))
        screenSavers_.addWatchedService(message.service());
    tell();
}

// Logind waits with the sleep for as long as the descriptor is open, five seconds at most.
void UserSession::inhibitSleep() {
    auto message =
        QDBusMessage::createMethodCall(kService, kManagerPath, text(kManager), QStringLiteral("Inhibit"));
    message.setArguments({QStringLiteral("sleep"), QStringLiteral("LightPenNX7"),
                          QStringLiteral("A stroke of the pen is let go of"), QStringLiteral("delay")});
    auto* answer = new QDBusPendingCallWatcher(system_.asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *answer;
        if (reply.isValid() && !asleep_)
            inhibitor_ = reply.value();
    });
}

void UserSession::tell() {
    if (changed_)
        changed_();
}

} // namespace lightpen
