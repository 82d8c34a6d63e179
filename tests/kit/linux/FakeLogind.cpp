// SPDX-License-Identifier: MIT
#include "kit/linux/FakeLogind.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <future>
#include <stdexcept>

#include <QDBusMessage>

namespace lightpen {

namespace {

constexpr QLatin1String kName{"org.freedesktop.login1"};
constexpr QLatin1String kPath{"/org/freedesktop/login1"};
constexpr QLatin1String kSession{"org.freedesktop.login1.Session"};
// As logind writes the session 7.
constexpr QLatin1String kSessionPath{"/org/freedesktop/login1/session/_37"};

} // namespace

FakeLogind::FakeLogind(const std::string& address)
    : connection_(QStringLiteral("login1 on ") + QString::fromStdString(address)),
      bus_(QDBusConnection::connectToBus(QString::fromStdString(address), connection_)) {
    if (!bus_.registerObject(kPath, this,
                             QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                                 QDBusConnection::ExportAllProperties) ||
        !bus_.registerObject(kSessionPath, &session,
                             QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                                 QDBusConnection::ExportAllProperties) ||
        !bus_.registerService(kName))
        throw std::runtime_error("cannot serve on the bus");
    session.hinted = [this](bool locked) { setLocked(locked); };
}

FakeLogind::~FakeLogind() {
    QDBusConnection::disconnectFromBus(connection_);
}

QDBusObjectPath FakeLogind::GetSession(const QString& name) {
    if (!knowsSession || name != QLatin1String("auto"))
        sendErrorReply(QStringLiteral("org.freedesktop.login1.NoSessionForPID"), QStringLiteral("none"));
    return QDBusObjectPath(QString(kSessionPath));
}

QDBusObjectPath FakeLogind::GetSessionByPID(uint) {
    return GetSession(QStringLiteral("auto"));
}

QDBusUnixFileDescriptor FakeLogind::Inhibit(const QString& what, const QString& who, const QString&,
                                            const QString& mode) {
    inhibitions.push_back((what + u'|' + who + u'|' + mode).toStdString());
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    reader_ = FileDescriptor(ends[0]);
    QDBusUnixFileDescriptor given;
    given.giveFileDescriptor(ends[1]);
    return given;
}

bool FakeLogind::isHeldUp() const {
    pollfd state{reader_.get(), POLLIN, 0};
    return reader_.get() >= 0 && ::poll(&state, 1, 0) == 0;
}

void FakeLogind::tell(const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(kSessionPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                             QStringLiteral("PropertiesChanged"));
    signal.setArguments(arguments);
    bus_.send(signal);
}

void FakeLogind::setActive(bool active) {
    session.active = active;
    tell({QString(kSession), QVariantMap{{QStringLiteral("Active"), active}}, QStringList()});
}

void FakeLogind::setLocked(bool locked) {
    session.locked = locked;
    tell({QString(kSession), QVariantMap{{QStringLiteral("LockedHint"), locked}}, QStringList()});
}

void FakeLogind::setLockedWithoutSaying(bool locked) {
    session.locked = locked;
    tell({QString(kSession), QVariantMap(), QStringList{QStringLiteral("LockedHint")}});
}

void FakeLogind::sleep(bool begins) {
    sleeping = begins;
    Q_EMIT PrepareForSleep(begins);
}

void FakeLogind::babble() {
    tell({1, QStringLiteral("Active")});
    tell({QStringLiteral("org.freedesktop.login1.User"), QVariantMap{{QStringLiteral("Active"), false}},
          QStringList()});
    for (const QVariantList& arguments : {QVariantList{QVariant::fromValue(QList<int>{1})}, QVariantList{}}) {
        auto signal = QDBusMessage::createSignal(kPath, QStringLiteral("org.freedesktop.login1.Manager"),
                                                 QStringLiteral("PrepareForSleep"));
        signal.setArguments(arguments);
        bus_.send(signal);
    }
}

LogindProgram::LogindProgram(const std::string& address, std::function<void(FakeLogind&)> setUp) {
    there_.moveToThread(&thread_);
    thread_.start();
    const auto begin = [&] {
        logind_ = std::make_unique<FakeLogind>(address);
        if (setUp)
            setUp(*logind_);
    };
    QMetaObject::invokeMethod(&there_, begin, Qt::BlockingQueuedConnection);
}

LogindProgram::~LogindProgram() {
    QMetaObject::invokeMethod(
        &there_, [this] { logind_.reset(); }, Qt::BlockingQueuedConnection);
    thread_.quit();
    thread_.wait();
}

void LogindProgram::perform(const std::function<void(FakeLogind&)>& what) {
    QMetaObject::invokeMethod(
        &there_, [&] { what(*logind_); }, Qt::BlockingQueuedConnection);
}

std::function<void()> LogindProgram::holdUp() {
    auto release = std::make_shared<std::promise<void>>();
    QMetaObject::invokeMethod(&there_, [held = release->get_future().share()] { held.wait(); });
    return [release] { release->set_value(); };
}

} // namespace lightpen
