// SPDX-License-Identifier: MIT
#include "linux_desktop/process/ApplicationBus.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QThread>

#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr const char* kInterface = "org.freedesktop.Application";
constexpr const char* kBus = "org.freedesktop.DBus";
constexpr const char* kToken = "activation-token";
constexpr const char* kStartupId = "desktop-startup-id";
constexpr const char* kTokenVariable = "XDG_ACTIVATION_TOKEN";
constexpr const char* kStartupIdVariable = "DESKTOP_STARTUP_ID";

constexpr std::uint32_t kDoNotQueue = 4;
constexpr std::uint32_t kIsOwner = 1, kWasOwner = 4; // the bus's answers

// Whoever sends more than a user's clicks before the program is ready is no user.
constexpr std::size_t kMostEarly = 8;
constexpr qsizetype kLongestToken = 256;

// The program that holds the lock has the name a moment later.
constexpr int kAttempts = 20;
constexpr std::chrono::milliseconds kPause{100};
constexpr int kAnswerMilliseconds = 5000;

// A bus that is not to start anybody says the second.
bool isNobodyThere(const QDBusMessage& answer) {
    return answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") ||
           answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
}

QDBusMessage callOfTheBus(const char* method) {
    return QDBusMessage::createMethodCall(QLatin1String(kBus), QStringLiteral("/org/freedesktop/DBus"),
                                          QLatin1String(kBus), QLatin1String(method));
}

// Tokens are plain words. Anything else is no compositor's.
bool isToken(const QString& text) {
    return !text.isEmpty() && text.size() <= kLongestToken &&
           std::ranges::all_of(text, [](QChar c) { return c > QChar(' ') && c < QChar(0x7F); });
}

// Qt looks there when a window asks for the keyboard, and takes the token away.
void handOver(const QVariantMap& platformData) {
    const QVariant token = platformData.value(QLatin1String(kToken));
    if (token.typeId() == QMetaType::QString && isToken(token.toString()))
        qputenv(kTokenVariable, token.toString().toLatin1());
}

QVariantMap platformDataOfThisProcess() {
    QVariantMap data;
    for (const auto& [name, variable] : {std::pair(kToken, kTokenVariable), {kStartupId, kStartupIdVariable}})
        if (const QString value = qEnvironmentVariable(variable); !value.isEmpty())
            data.insert(QLatin1String(name), value);
    return data;
}

} // namespace

ApplicationBus::ApplicationBus(std::string program) : program_(std::move(program)) {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        logLine("Application: no session bus: %s; another start cannot show the window",
                bus.lastError().message().toStdString().c_str());
    else if (bus.registerObject(pathOf(program_), this, QDBusConnection::ExportScriptableSlots))
        takeName();
    else
        logLine("Application: something else of this process is at %s on the session bus",
                pathOf(program_).toStdString().c_str());
}

ApplicationBus::~ApplicationBus() {
    auto bus = QDBusConnection::sessionBus();
    bus.unregisterObject(pathOf(program_));
    bus.send(callOfTheBus("ReleaseName") << nameOf(program_));
}

QString ApplicationBus::nameOf(const std::string& program) {
    return QStringLiteral("org.lightpen.") + QString::fromStdString(program);
}

// Paths have no dots and no hyphens.
QString ApplicationBus::pathOf(const std::string& program) {
    return '/' + nameOf(program).replace('.', '/').replace('-', '_');
}

void ApplicationBus::takeName() {
    const auto call = callOfTheBus("RequestName") << nameOf(program_) << kDoNotQueue;
    auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<std::uint32_t> reply = *watcher;
        watcher->deleteLater();
        if (!reply.isValid() || (reply.value() != kIsOwner && reply.value() != kWasOwner))
            logLine("Application: the name %s cannot be had on the session bus: %s",
                    nameOf(program_).toStdString().c_str(),
                    reply.isValid() ? "another program has it"
                                    : reply.error().message().toStdString().c_str());
    });
}

void ApplicationBus::setHandler(Handler handler) {
    handler_ = std::move(handler);
    if (handler_)
        for (const Request& request : std::exchange(early_, {}))
            perform(request);
}

void ApplicationBus::take(Request request) {
    if (handler_)
        perform(request);
    else if (early_.size() < kMostEarly)
        early_.push_back(std::move(request));
}

// What a refused one has left behind would go to a later window, or to programs that this one starts.
void ApplicationBus::perform(const Request& request) const {
    handOver(request.platformData);
    if (const Handler handler = handler_; !handler(request.action))
        qunsetenv(kTokenVariable);
}

void ApplicationBus::Activate(const QVariantMap& platformData) {
    take({std::string(kShow), platformData});
}

void ApplicationBus::Open(const QStringList&, const QVariantMap& platformData) {
    take({std::string(kShow), platformData});
}

void ApplicationBus::ActivateAction(const QString& name, const QVariantList&,
                                    const QVariantMap& platformData) {
    take({name.toStdString(), platformData});
}

std::string askRunningApplication(const std::string& program, const std::string& action) {
    const auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return "";
    const bool plain = action == ApplicationRequests::kShow;
    auto call = QDBusMessage::createMethodCall(
        ApplicationBus::nameOf(program), ApplicationBus::pathOf(program), QLatin1String(kInterface),
        plain ? QStringLiteral("Activate") : QStringLiteral("ActivateAction"));
    call.setAutoStartService(false);
    if (!plain)
        call << QString::fromStdString(action) << QVariantList();
    call << platformDataOfThisProcess();
    QDBusMessage answer;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        answer = bus.call(call, QDBus::Block, kAnswerMilliseconds);
        if (!isNobodyThere(answer))
            break;
        QThread::msleep(kPause.count());
    }
    return answer.type() == QDBusMessage::ErrorMessage ? answer.errorMessage().toStdString() : "";
}

void leaveToRunningApplication(int argc, char** argv, const std::string& program, const std::string& action) {
    const QCoreApplication application(argc, argv);
    const std::string wish = action.empty() ? std::string(ApplicationRequests::kShow) : action;
    if (const std::string problem = askRunningApplication(program, wish); !problem.empty())
        logLine("%s: the one that runs cannot be asked for its window: %s", program.c_str(), problem.c_str());
}

} // namespace lightpen
