// SPDX-License-Identifier: MIT
#include "linux_desktop/panel/ItemIsMenu.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include <QApplication>
#include <QDBusArgument>
#include <QMenu>
#include <QPixmap>
#include <QSystemTrayIcon>

#include "kit/linux/SignalRecorder.h"
#include "kit/linux/TestMain.h"
#include "measure/desktop/FakeStatusNotifierWatcher.h"
#include "measure/desktop/MenuOverDBus.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

// Set by main.
std::string busAddress;

QIcon plainIcon(Qt::GlobalColor colour) {
    QPixmap picture(22, 22);
    picture.fill(colour);
    return QIcon(picture);
}

class ItemIsMenuTest : public testing::Test {
protected:
    ItemIsMenuTest() {
        watcher.appear();
        menu.addAction(QStringLiteral("Exit"));
        icon = std::make_unique<QSystemTrayIcon>(plainIcon(Qt::red));
        icon->setContextMenu(&menu);
        QObject::connect(icon.get(), &QSystemTrayIcon::activated, [this] { ++activations; });
        icon->show();
    }
    void look() {
        ASSERT_TRUE(comesTrue([this] { return watcher.items().size() == 1; }));
        panel = std::make_unique<MenuOverDBus>(busAddress, watcher.items().front().service);
    }
    std::size_t countOf(const QString& signal) const {
        return static_cast<std::size_t>(
            std::count_if(heard.messages().begin(), heard.messages().end(),
                          [&](const QDBusMessage& message) { return message.member() == signal; }));
    }

    FakeStatusNotifierWatcher watcher{busAddress};
    SignalRecorder heard{busAddress, "org.kde.StatusNotifierItem"};
    QMenu menu;
    std::unique_ptr<QSystemTrayIcon> icon; // Qt looks for a panel when it makes the first one
    std::unique_ptr<MenuOverDBus> panel;
    int activations = 0;
};

// Were Qt to say so itself one day, all this could go.
TEST_F(ItemIsMenuTest, QtsItemIsMoreThanItsMenu) {
    ASSERT_NO_FATAL_FAILURE(look());
    const QVariant before = panel->itemProperty("ItemIsMenu");
    EXPECT_TRUE(before.isValid());
    EXPECT_FALSE(before.toBool());
    sayThatItemsAreMenus();
    EXPECT_TRUE(panel->itemProperty("ItemIsMenu").toBool());
}

TEST_F(ItemIsMenuTest, IsSaidBeforeAnybodyCanAskAndOnce) {
    for (int time = 0; time < 3; ++time)
        sayThatItemsAreMenus();
    ASSERT_NO_FATAL_FAILURE(look());
    EXPECT_EQ(panel->itemProperty("ItemIsMenu"), QVariant(true));
}

TEST_F(ItemIsMenuTest, AllElseIsAsQtSaysIt) {
    ASSERT_NO_FATAL_FAILURE(look());
    const char* const texts[] = {"Id", "Category", "Status", "Title", "IconName", "AttentionIconName"};
    QVariantList before;
    for (const char* name : texts)
        before.append(panel->itemProperty(name));
    const QString picture = panel->itemProperty("IconPixmap").value<QDBusArgument>().currentSignature();
    sayThatItemsAreMenus();
    QVariantList after;
    for (const char* name : texts)
        after.append(panel->itemProperty(name));
    EXPECT_EQ(before, after);
    EXPECT_FALSE(before.at(0).toString().isEmpty());
    EXPECT_EQ(panel->itemProperty("IconPixmap").value<QDBusArgument>().currentSignature(), picture);
    EXPECT_FALSE(picture.isEmpty());
    EXPECT_EQ(panel->layout()->labels(), std::vector<std::string>{"Exit"});
    EXPECT_TRUE(panel->activateItem(3, 4));
    EXPECT_TRUE(comesTrue([this] { return activations == 1; }));
    EXPECT_TRUE(panel->giveActivationToken("one"));
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "one");
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST_F(ItemIsMenuTest, APanelHearsOfEachChangeAsOftenAsBefore) {
    ASSERT_NO_FATAL_FAILURE(look());
    const auto signalsOf = [this](Qt::GlobalColor colour, const char* toolTip) {
        EXPECT_TRUE(panel->layout()); // what was on its way has arrived
        heard.forget();
        icon->setIcon(plainIcon(colour));
        icon->setToolTip(QString::fromLatin1(toolTip));
        EXPECT_TRUE(comesTrue([this] { return countOf(QStringLiteral("NewToolTip")) > 0; }));
        EXPECT_TRUE(panel->layout());
        return std::pair(countOf(QStringLiteral("NewIcon")), countOf(QStringLiteral("NewToolTip")));
    };
    const auto before = signalsOf(Qt::blue, "A pen");
    EXPECT_GT(before.first, 0u);
    sayThatItemsAreMenus();
    EXPECT_EQ(signalsOf(Qt::green, "A camera"), before);
}

TEST_F(ItemIsMenuTest, WhatIsNotOnTheBusIsLeftAlone) {
    icon->hide();
    sayThatItemsAreMenus();
    icon->show();
    ASSERT_NO_FATAL_FAILURE(look());
    sayThatItemsAreMenus();
    EXPECT_TRUE(panel->layout());
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    const lightpen::PrivateBus bus;
    lightpen::busAddress = bus.address();
    return lightpen::runTests<QApplication>(argc, argv, bus, lightpen::Xvfb("640x480"));
}
