// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/TrayStatusBar.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPixmap>
#include <QSystemTrayIcon>

#include "kit/PrivateBus.h"
#include "kit/RecordingLog.h"
#include "kit/Xvfb.h"
#include "kit/linux/FakeXTray.h"
#include "measure/desktop/FakeStatusNotifierWatcher.h"
#include "measure/desktop/MenuOverDBus.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

class TrayStatusBarTest : public testing::Test {
protected:
    void ask() {
        bar->whenAvailable([this] { ++calls; });
    }
    // Shows an icon as soon as there is where.
    void showIcon() {
        bar->whenAvailable([this] {
            QPixmap picture(22, 22);
            picture.fill(Qt::red);
            icon = std::make_unique<QSystemTrayIcon>(QIcon(picture));
            icon->show();
        });
        settle();
    }
    void settle() {
        for (int turn = 0; turn < 20; ++turn)
            QCoreApplication::processEvents();
    }
    // What a panel does at a click.
    bool saysThatItIsAMenu() {
        MenuOverDBus item(environment("DBUS_SESSION_BUS_ADDRESS"), watcher.items().front().service);
        return item.itemProperty("ItemIsMenu").toBool();
    }
    FakeStatusNotifierWatcher watcher{environment("DBUS_SESSION_BUS_ADDRESS")};
    FakeXTray tray{environment("DISPLAY")};
    std::unique_ptr<QSystemTrayIcon> icon;
    int calls = 0;
    RecordingLog log;
    // A panel that answers is not too slow on any machine.
    std::unique_ptr<TrayStatusBar> bar = std::make_unique<TrayStatusBar>(std::chrono::seconds(10));
};
// Qt decides for one kind of tray in the life of a process.
using TrayStatusBarDeathTest = TrayStatusBarTest;

TEST_F(TrayStatusBarTest, SaysOnceThatThereIsNoPanelYet) {
    ask();
    settle();
    EXPECT_EQ(log.takeLines(),
              std::vector<std::string>{"Status bar: no panel shows status items yet; the item "
                                       "comes with the first one that does"});
    watcher.appear();
    EXPECT_TRUE(comesTrue([this] { return calls == 1; }));
    EXPECT_TRUE(log.takeLines().empty());
}

TEST_F(TrayStatusBarTest, CallsAtOnceWhereThereIsAPanelOnTheBusOrATrayOfTheXServer) {
    for (const bool onTheBus : {true, false}) {
        SCOPED_TRACE(onTheBus);
        calls = 0;
        onTheBus ? watcher.appear() : tray.appear();
        ask();
        EXPECT_EQ(calls, 1);
        settle();
        EXPECT_EQ(calls, 1);
        onTheBus ? watcher.disappear() : tray.disappear();
    }
}

TEST_F(TrayStatusBarTest, CallsOnceWhenAPanelComesOnTheBus) {
    ask();
    settle();
    EXPECT_EQ(calls, 0);
    watcher.appear();
    EXPECT_TRUE(comesTrue([this] { return calls > 0; }));
    watcher.disappear();
    watcher.appear();
    tray.appear();
    settle();
    EXPECT_EQ(calls, 1);
}

TEST_F(TrayStatusBarTest, CallsOnceWhenATrayComesToTheXServer) {
    ask();
    tray.announceSomethingElse();
    settle();
    EXPECT_EQ(calls, 0);
    tray.appear();
    EXPECT_TRUE(comesTrue([this] { return calls > 0; }));
    tray.disappear();
    tray.appear();
    settle();
    EXPECT_EQ(calls, 1);
}

TEST_F(TrayStatusBarTest, EveryoneWhoWaitsIsCalled) {
    ask();
    ask();
    tray.appear();
    EXPECT_TRUE(comesTrue([this] { return calls == 2; }));
    ask();
    EXPECT_EQ(calls, 3);
}

TEST_F(TrayStatusBarTest, OneWhoAsksAgainWhenCalledIsAnswered) {
    bar->whenAvailable([this] { ask(); });
    tray.appear();
    EXPECT_TRUE(comesTrue([this] { return calls == 1; }));
}

TEST_F(TrayStatusBarTest, CallsNobodyAfterItsEnd) {
    ask();
    tray.appear();
    bar.reset();
    settle();
    EXPECT_EQ(calls, 0);
}

TEST_F(TrayStatusBarDeathTest, AnIconThatIsMadeThenIsInThePanelOfTheBusAndInTheNextOne) {
    EXPECT_EXIT(
        {
            showIcon();
            watcher.appear();
            bool shown = comesTrue([&] { return watcher.items().size() == 1; });
            shown = shown && saysThatItIsAMenu();
            watcher.disappear();
            watcher.appear();
            shown = shown && comesTrue([&] { return watcher.items().size() == 1; });
            std::_Exit(shown && tray.takeDockRequests() == 0 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(TrayStatusBarDeathTest, AnIconThatIsMadeThenIsInTheTrayOfTheXServerAndInTheNextOne) {
    EXPECT_EXIT(
        {
            showIcon();
            tray.appear();
            bool shown = comesTrue([&] { return tray.takeDockRequests() > 0; });
            tray.disappear();
            settle();
            tray.appear();
            shown = shown && comesTrue([&] { return tray.takeDockRequests() > 0; });
            std::_Exit(shown && watcher.items().empty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace lightpen

// The processes of the death tests use the servers that the first one has started.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    std::unique_ptr<lightpen::Xvfb> server;
    std::unique_ptr<lightpen::PrivateBus> bus;
    if (!std::getenv("LIGHTPEN_TEST_SERVER")) {
        server = std::make_unique<lightpen::Xvfb>("640x480");
        server->enter();
        bus = std::make_unique<lightpen::PrivateBus>();
        bus->enter();
        setenv("LIGHTPEN_TEST_SERVER", "1", 1);
    }
    QApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
