// SPDX-License-Identifier: MIT
// Two users at one machine with the real logind: whose session is shown has the unit. Its way to the driver
// is the bus, and the permission of the nodes, which logind gives and takes without a word from udev.
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <filesystem>
#include <string>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QThread>

#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/RuleFile.h"
#include "kit/ChildProcess.h"
#include "kit/Eventually.h"
#include "kit/PrivateBus.h"
#include "kit/TemporaryDirectory.h"
#include "linux_desktop/process/SystemClock.h"
#include "unit/CameraUnit.h"

// What CreateSession takes at its end, of which there is none.
struct SessionProperty {
    QString name;
    QDBusVariant value;
};
Q_DECLARE_METATYPE(SessionProperty)

QDBusArgument& operator<<(QDBusArgument& argument, const SessionProperty& property) {
    argument.beginStructure();
    argument << property.name << property.value;
    argument.endStructure();
    return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, SessionProperty& property) {
    argument.beginStructure();
    argument >> property.name >> property.value;
    argument.endStructure();
    return argument;
}

namespace lightpen {
namespace {

constexpr const char* kGroups = "/sys/fs/cgroup";
constexpr uid_t kFirstUser = 65534, kSecondUser = 1;

// The machine's first process, as far as logind needs it: every job that it is given is done at once.
class JobsAreDone final : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        QDBusConnection bus = connection;
        const QString member = message.member();
        if (member != QLatin1String("StartUnit") && member != QLatin1String("StartTransientUnit") &&
            member != QLatin1String("StopUnit"))
            return bus.send(message.createReply());
        const QDBusObjectPath job(QStringLiteral("/org/freedesktop/systemd1/job/%1").arg(++last_));
        bus.send(message.createReply(QVariant::fromValue(job)));
        auto done = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/systemd1"),
                                               QStringLiteral("org.freedesktop.systemd1.Manager"),
                                               QStringLiteral("JobRemoved"));
        done.setArguments(
            {last_, QVariant::fromValue(job), message.arguments().front(), QStringLiteral("done")});
        return bus.send(done);
    }

private:
    uint last_ = 0;
};

// The real logind on a bus of the test's.
class Logind {
public:
    Logind() {
        ::mount("cgroup2", kGroups, "cgroup2", 0, nullptr);
        manager_.moveToThread(&thread_);
        thread_.start();
        QMetaObject::invokeMethod(
            &manager_,
            [this] {
                auto jobs = QDBusConnection::connectToBus(address(), QStringLiteral("jobs"));
                jobs.registerVirtualObject(QStringLiteral("/org/freedesktop/systemd1"), &manager_,
                                           QDBusConnection::SubPath);
                jobs.registerService(QStringLiteral("org.freedesktop.systemd1"));
            },
            Qt::BlockingQueuedConnection);
        for (const char* folder : {"seats", "users", "sessions", "inhibit", "machines"})
            std::filesystem::create_directories(std::filesystem::path("/run/systemd") / folder);
        logind_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{"/lib/systemd/systemd-logind"},
            ChildOptions{.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", bus_.address()}}, .output = 2});
    }
    ~Logind() {
        logind_.reset();
        thread_.quit();
        thread_.wait();
        QDBusConnection::disconnectFromBus(QStringLiteral("jobs"));
    }

    const std::string& busAddress() const { return bus_.address(); }
    bool isThere() {
        return eventually([&] { return call("ListSeats", {}).type() == QDBusMessage::ReplyMessage; });
    }
    QDBusMessage call(const char* member, const QVariantList& arguments) {
        auto message = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
            QStringLiteral("org.freedesktop.login1.Manager"), QString::fromLatin1(member));
        message.setArguments(arguments);
        return asker_.call(message);
    }

private:
    QString address() const { return QString::fromStdString(bus_.address()); }

    const PrivateBus bus_{BusUsers::everybody};
    QThread thread_;
    JobsAreDone manager_;
    QDBusConnection asker_ = QDBusConnection::connectToBus(address(), QStringLiteral("asker"));
    std::unique_ptr<ChildProcess> logind_;
};

// A user's session on a virtual terminal, and the driver in it.
class Session {
public:
    Session(Logind& logind, uid_t user, unsigned terminal) : logind_(logind) {
        const auto made = logind.call(
            "CreateSession", {uint{user}, uint(leader_.pid()), QStringLiteral("test"), QStringLiteral("x11"),
                              QStringLiteral("user"), QString(), QStringLiteral("seat0"), uint{terminal},
                              QStringLiteral("tty%1").arg(terminal), QString(), false, QString(), QString(),
                              QVariant::fromValue(QList<SessionProperty>())});
        EXPECT_EQ(made.type(), QDBusMessage::ReplyMessage) << made.errorMessage().toStdString();
        if (made.type() != QDBusMessage::ReplyMessage)
            return;
        id_ = made.arguments().at(0).toString();
        alive_ = made.arguments().at(3).value<QDBusUnixFileDescriptor>();
        // As the machine's first process would: who is in this group is in the session.
        const auto group = std::filesystem::path(kGroups) / "user.slice" /
                           ("user-" + std::to_string(user) + ".slice") /
                           ("session-" + id_.toStdString() + ".scope");
        std::filesystem::create_directories(group);
        writeFile(group / "cgroup.procs", "0");
        driver = std::make_unique<DriverProcess>(
            DriverOptions{.user = user,
                          .groups = {},
                          .environment = {{"QT_QPA_PLATFORM", "offscreen"},
                                          {"DBUS_SYSTEM_BUS_ADDRESS", logind.busAddress()}}});
        writeFile(std::filesystem::path(kGroups) / "cgroup.procs", "0");
    }
    void show() {
        const auto shown = logind_.call("ActivateSession", {id_});
        EXPECT_EQ(shown.type(), QDBusMessage::ReplyMessage) << shown.errorMessage().toStdString();
    }

    std::unique_ptr<DriverProcess> driver;

private:
    Logind& logind_;
    ChildProcess leader_{{"sleep", "600"}};
    QString id_;
    QDBusUnixFileDescriptor alive_; // the session ends when it is closed
};

TEST(LogindTest, TheUnitIsTheShownSessionsAlone) {
    qDBusRegisterMetaType<SessionProperty>();
    qDBusRegisterMetaType<QList<SessionProperty>>();
    const PackagedRule rule;
    Logind logind;
    ASSERT_TRUE(logind.isThere());
    Session first(logind, kFirstUser, 1);
    Session second(logind, kSecondUser, 2);
    ASSERT_TRUE(first.driver && second.driver);
    first.show();
    ASSERT_TRUE(first.driver->waitFor(kStarted)) << first.driver->log();
    ASSERT_TRUE(second.driver->waitFor(kStarted)) << second.driver->log();

    SystemClock clock;
    GadgetBus bus(clock);
    CameraUnit& unit = bus.add<CameraUnit>({.reportLength = 32});
    unit.plug();
    ASSERT_TRUE(first.driver->waitFor(kFlashRead)) << first.driver->log();
    settleUdev();
    EXPECT_EQ(second.driver->count(kArrived), 0U) << second.driver->log();
    EXPECT_EQ(second.driver->count(kRefused), 0U) << second.driver->log();

    for (int turn = 0; turn < 2; ++turn) {
        second.show();
        EXPECT_TRUE(first.driver->waitFor(kRemoved)) << first.driver->log();
        EXPECT_TRUE(second.driver->waitFor(kFlashRead)) << second.driver->log();
        first.show();
        EXPECT_TRUE(second.driver->waitFor(kRemoved)) << second.driver->log();
        EXPECT_TRUE(first.driver->waitFor(kFlashRead)) << first.driver->log();
    }
    EXPECT_EQ(first.driver->end(), 0) << first.driver->log();
    EXPECT_EQ(second.driver->end(), 0) << second.driver->log();
    unit.unplug();
    bus.settle(unit);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
