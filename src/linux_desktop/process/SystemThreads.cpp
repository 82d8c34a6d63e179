// SPDX-License-Identifier: MIT
#include "linux_desktop/process/SystemThreads.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>

#include "platform/Log.h"

namespace lightpen {

namespace {

// Above ordinary work, below what the kernel and the sound server use.
constexpr int kRealtimePriority = 10;
constexpr int kLowestNice = -20;
constexpr std::chrono::milliseconds kBusPatience{250};

bool becomeRealtime() {
    sched_param parameters{};
    parameters.sched_priority = kRealtimePriority;
    // Programs that this one starts must not inherit it.
    return sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &parameters) == 0;
}

// On Linux a nice value belongs to a thread.
bool becomeLessNice(pid_t thread) {
    if (setpriority(PRIO_PROCESS, static_cast<id_t>(thread), kLowestNice) == 0)
        return true;
    rlimit limit{};
    if (getrlimit(RLIMIT_NICE, &limit) != 0 || limit.rlim_cur <= 20)
        return false;
    const int allowed = limit.rlim_cur >= 40 ? kLowestNice : 20 - static_cast<int>(limit.rlim_cur);
    return setpriority(PRIO_PROCESS, static_cast<id_t>(thread), allowed) == 0;
}

constexpr QLatin1String kRealtimeKit{"org.freedesktop.RealtimeKit1"};
constexpr QLatin1String kRealtimeKitPath{"/org/freedesktop/RealtimeKit1"};
constexpr int kCallMilliseconds = 200;

QDBusMessage call(const QString& interface, const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(kRealtimeKit, kRealtimeKitPath, interface, method);
    message.setArguments(arguments);
    return QDBusConnection::systemBus().call(message, QDBus::Block, kCallMilliseconds);
}

// A number that RealtimeKit has as a property; 0 when it cannot be had.
long long property(const QString& name) {
    const QDBusReply<QDBusVariant> reply = call(QStringLiteral("org.freedesktop.DBus.Properties"),
                                                QStringLiteral("Get"), {QString(kRealtimeKit), name});
    return reply.isValid() ? reply.value().variant().toLongLong() : 0;
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

bool askRealtimeKit(pid_t thread) {
    if (!QDBusConnection::systemBus().isConnected())
        return false;
    const auto highest = property(QStringLiteral("MaxRealtimePriority"));
    if (highest <= 0 || !limitRealtimeRun(property(QStringLiteral("RTTimeUSecMax"))))
        return false;
    const auto priority = static_cast<unsigned>(std::min<long long>(highest, kRealtimePriority));
    const QDBusMessage reply = call(QString(kRealtimeKit), QStringLiteral("MakeThreadRealtime"),
                                    {QVariant::fromValue(static_cast<qulonglong>(thread)), priority});
    return reply.type() == QDBusMessage::ReplyMessage;
}

// False, and a log line, when the machine or the user has no thread left.
bool detached(std::function<void()> entry) {
    try {
        std::thread(std::move(entry)).detach();
        return true;
    } catch (const std::system_error& error) {
        logLine("Threads: none can be started: %s", error.code().message().c_str());
        return false;
    }
}

} // namespace

bool makeThreadRealtime(pid_t thread, std::chrono::milliseconds patience) {
    // Connecting to a bus that accepts and then says nothing has no time-out of its own, so another thread
    // waits.
    auto answer = std::make_shared<std::promise<bool>>();
    auto result = answer->get_future();
    if (!detached([answer, thread] { answer->set_value(askRealtimeKit(thread)); }))
        return false;
    return result.wait_for(patience) == std::future_status::ready && result.get();
}

void SystemThreads::detachNewThread(std::function<void()> entry) {
    detached(std::move(entry));
}

bool SystemThreads::setThreadPriority(double priority) {
    if (priority < 1.0)
        return false;
    // Sleeps then end some 50 us nearer to their time. It needs no privilege; without it they are just later.
    (void)prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    // Whoever looks at the program's threads is to know this one, the pen's.
    (void)prctl(PR_SET_NAME, "pen", 0UL, 0UL, 0UL);
    const pid_t thread = gettid();
    return becomeRealtime() || makeThreadRealtime(thread, kBusPatience) || becomeLessNice(thread);
}

} // namespace lightpen
