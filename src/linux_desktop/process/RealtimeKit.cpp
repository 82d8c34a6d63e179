// SPDX-License-Identifier: MIT
#include "linux_desktop/process/RealtimeKit.h"

#include <sys/resource.h>

#include <algorithm>
#include <future>
#include <memory>
#include <thread>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

namespace lightpen {

namespace {

constexpr QLatin1String kService{"org.freedesktop.RealtimeKit1"};
constexpr QLatin1String kPath{"/org/freedesktop/RealtimeKit1"};
constexpr unsigned kPriority = 10;
constexpr int kCallMilliseconds = 200;

QDBusMessage call(const QString& interface, const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(kService, kPath, interface, method);
    message.setArguments(arguments);
    return QDBusConnection::systemBus().call(message, QDBus::Block, kCallMilliseconds);
}

// A property of RealtimeKit's; the fallback when it cannot be had.
long long property(const QString& name, long long fallback) {
    const QDBusMessage reply = call(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                                    {QString(kService), name});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return fallback;
    bool isNumber = false;
    const auto number =
        qvariant_cast<QDBusVariant>(reply.arguments().constFirst()).variant().toLongLong(&isNumber);
    return isNumber ? number : fallback;
}

// RealtimeKit serves only processes whose real-time threads the kernel stops when they run on without a
// pause.
bool limitRealtimeRun(long long microseconds) {
    rlimit limit{};
    if (microseconds <= 0 || getrlimit(RLIMIT_RTTIME, &limit) != 0)
        return false;
    limit.rlim_max = std::min(limit.rlim_max, static_cast<rlim_t>(microseconds));
    limit.rlim_cur = limit.rlim_max;
    return setrlimit(RLIMIT_RTTIME, &limit) == 0;
}

bool ask(pid_t thread) {
    if (!QDBusConnection::systemBus().isConnected())
        return false;
    const auto highest = property(QStringLiteral("MaxRealtimePriority"), 0);
    if (highest <= 0 || !limitRealtimeRun(property(QStringLiteral("RTTimeUSecMax"), 0)))
        return false;
    const auto priority = static_cast<unsigned>(std::min<long long>(highest, kPriority));
    const QDBusMessage reply = call(QString(kService), QStringLiteral("MakeThreadRealtime"),
                                    {QVariant::fromValue(static_cast<qulonglong>(thread)), priority});
    return reply.type() == QDBusMessage::ReplyMessage;
}

} // namespace

bool makeThreadRealtime(pid_t thread, std::chrono::milliseconds patience) {
    // Connecting to a bus that accepts and then says nothing has no time-out of its own, so another thread
    // waits.
    auto answer = std::make_shared<std::promise<bool>>();
    auto result = answer->get_future();
    std::thread([answer, thread] { answer->set_value(ask(thread)); }).detach();
    return result.wait_for(patience) == std::future_status::ready && result.get();
}

} // namespace lightpen
