// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/StatusNotifierHosts.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>

#include "kit/Eventually.h"
#include "kit/linux/TestMain.h"
#include "measure/desktop/FakeStatusNotifierWatcher.h"

namespace lightpen {
namespace {

// A panel that answers is not too slow on any machine.
constexpr std::chrono::seconds kPatience{10};

class StatusNotifierHostsTest : public testing::Test {
protected:
    bool isCalled() {
        return eventually([this] { return calls > 0; }, [] { QCoreApplication::processEvents(); });
    }
    // Everything that was on its way to this program has arrived: the bus keeps the order.
    static void letNewsArrive() {
        QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
            QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")));
        QCoreApplication::processEvents();
    }
    const std::string address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    int calls = 0;
    StatusNotifierHosts hosts{[this] { ++calls; }, kPatience};
};

TEST_F(StatusNotifierHostsTest, AListThatNobodyShowsIsNoPanel) {
    FakeStatusNotifierWatcher watcher(address, false);
    watcher.appear();
    EXPECT_FALSE(hosts.search());
    letNewsArrive();
    EXPECT_EQ(calls, 0);
    watcher.registerHost();
    EXPECT_TRUE(isCalled());
}

TEST_F(StatusNotifierHostsTest, APanelThatIsSlowToAnswerCountsWhenItDoes) {
    int later = 0;
    StatusNotifierHosts impatient([&] { ++later; });
    FakeStatusNotifierWatcher watcher(address);
    watcher.appear();
    watcher.stall();
    EXPECT_FALSE(impatient.search());
    EXPECT_EQ(later, 0);
    watcher.goOn();
    EXPECT_TRUE(eventually([&] { return later > 0; }, [] { QCoreApplication::processEvents(); }));
}

TEST_F(StatusNotifierHostsTest, ComesBackWithEveryStart) {
    FakeStatusNotifierWatcher watcher(address);
    watcher.appear();
    ASSERT_TRUE(isCalled());
    watcher.disappear();
    EXPECT_FALSE(hosts.search());
    calls = 0;
    watcher.appear();
    EXPECT_TRUE(isCalled());
}

// In a process of its own: Qt keeps its bus for ever.
TEST(StatusNotifierHostsDeathTest, WithoutABusThereIsNone) {
    EXPECT_EXIT(
        {
            const NoBus none;
            none.enter();
            StatusNotifierHosts hosts([] { std::_Exit(2); });
            const bool found = hosts.search();
            QCoreApplication::processEvents();
            std::_Exit(found ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QCoreApplication>(argc, argv, lightpen::PrivateBus());
}
