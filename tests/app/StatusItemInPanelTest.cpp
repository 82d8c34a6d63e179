// SPDX-License-Identifier: MIT
// The status item as a desktop's panel has it over the bus.
#include "app/StatusItem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include <QApplication>
#include <QDBusArgument>
#include <QEventLoop>
#include <QPixmap>
#include <QTimer>

#include "kit/TestPlatform.h"
#include "kit/linux/SignalRecorder.h"
#include "kit/linux/TestMain.h"
#include "measure/desktop/FakeStatusNotifierWatcher.h"
#include "measure/desktop/MenuOverDBus.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Set by main.
std::string busAddress;

void handleEvents() {
    QCoreApplication::processEvents();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

std::shared_ptr<QMenu> menuOf(const std::vector<QString>& labels) {
    auto menu = std::make_shared<QMenu>();
    for (const QString& label : labels)
        menu->addAction(label);
    return menu;
}

QIcon plainIcon(QRgb colour) {
    QPixmap pixmap(32, 32);
    pixmap.fill(QColor::fromRgb(colour));
    return QIcon(pixmap);
}

class StatusItemInPanelTest : public testing::Test {
protected:
    StatusItemInPanelTest() { item->setImage(plainIcon(0x808080)); }
    // The panel comes, and the item in it.
    void come() {
        watcher.appear();
        desk.statusBar.come();
        expectOneItem();
        panel = std::make_unique<MenuOverDBus>(busAddress, watcher.items().front().service,
                                               watcher.items().front().path);
    }
    void expectOneItem() {
        ASSERT_TRUE(comesTrue([&] { return watcher.items().size() == 1; })) << watcher.items().size();
    }
    std::vector<std::string> labels() {
        const auto root = panel->layout();
        return root ? root->labels() : std::vector<std::string>{"no menu"};
    }
    // The colour of the icon's middle, as the panel got it.
    std::uint32_t iconColour() {
        const auto argument = panel->itemProperty("IconPixmap").value<QDBusArgument>();
        int width = 0, height = 0;
        QByteArray pixels;
        argument.beginArray();
        argument.beginStructure();
        argument >> width >> height >> pixels;
        argument.endStructure();
        const auto middle = (height / 2 * width + width / 2) * 4;
        std::uint32_t colour = 0;
        for (int byte = 1; byte < 4; ++byte)
            colour = colour << 8U | static_cast<std::uint8_t>(pixels.at(middle + byte));
        return colour;
    }

    TestPlatform desk;
    FakeStatusNotifierWatcher watcher{busAddress};
    std::unique_ptr<StatusItem> item = std::make_unique<StatusItem>();
    std::unique_ptr<MenuOverDBus> panel;
};

TEST_F(StatusItemInPanelTest, ComesWithThePanelAndShowsWhatWasSetBefore) {
    item->setImage(plainIcon(0x2040A0));
    item->setToolTip(QStringLiteral("A pen"));
    item->setMenu(menuOf({"Calibration", "Exit"}));
    handleEvents();
    EXPECT_THAT(watcher.items(), IsEmpty());
    come();
    EXPECT_THAT(labels(), ElementsAre("Calibration", "Exit"));
    EXPECT_EQ(iconColour(), 0x2040A0u);
    item->setImage(plainIcon(0xD03010));
    EXPECT_EQ(iconColour(), 0xD03010u);
}

TEST_F(StatusItemInPanelTest, WithoutAMenuThePanelHasAnEmptyOne) {
    come();
    EXPECT_THAT(labels(), IsEmpty());
    item->setMenu(menuOf({"Exit"}));
    EXPECT_THAT(labels(), ElementsAre("Exit"));
    item->setMenu(nullptr);
    EXPECT_THAT(labels(), IsEmpty());
    EXPECT_EQ(item->menu(), nullptr);
}

TEST_F(StatusItemInPanelTest, AnEmptyPictureTakesItsPlaceWithTheMenu) {
    item->setImage(QIcon());
    item->setMenu(menuOf({"Exit"}));
    come();
    EXPECT_THAT(labels(), ElementsAre("Exit"));
}

// Panels look again only when they hear of a layout with a higher number than theirs.
TEST_F(StatusItemInPanelTest, APanelHearsOfAnotherMenu) {
    item->setMenu(menuOf({"Calibration", "About...", "Exit"}));
    come();
    EXPECT_THAT(labels(), ElementsAre("Calibration", "About...", "Exit"));
    SignalRecorder recorder(busAddress, "com.canonical.dbusmenu");
    std::uint32_t last = 0;
    for (const auto& wanted : {std::vector<QString>{"Exit"}, std::vector<QString>{"Calibration", "Exit"}}) {
        const std::size_t before = recorder.messages().size();
        item->setMenu(menuOf(wanted));
        ASSERT_TRUE(comesTrue([&] { return recorder.messages().size() > before; }));
        EXPECT_EQ(labels().size(), wanted.size());
        const QDBusMessage& update = recorder.messages().back();
        EXPECT_EQ(update.member(), QStringLiteral("LayoutUpdated"));
        EXPECT_GT(update.arguments().at(0).toUInt(), last);
        last = update.arguments().at(0).toUInt();
    }
}

TEST_F(StatusItemInPanelTest, SubMenusSeparatorsAndCheckMarksAreThere) {
    const auto menu = menuOf({"Calibration"});
    QMenu* distances = menu->addMenu(QStringLiteral("Projection Distance"));
    QAction* far = distances->addAction(QStringLiteral("Far & wide_"));
    QAction* near = distances->addAction(QStringLiteral("Near"));
    for (QAction* action : {far, near})
        action->setCheckable(true);
    near->setChecked(true);
    menu->addSeparator();
    menu->addAction(QStringLiteral("Help"))->setEnabled(false);
    item->setMenu(menu);
    come();
    EXPECT_THAT(labels(), ElementsAre("Calibration", "Projection Distance", "-", "Help"));
    auto root = panel->layout();
    ASSERT_EQ(root->children.size(), 4u);
    EXPECT_EQ(root->children[0].checked, std::nullopt);
    EXPECT_TRUE(root->children[0].enabled);
    EXPECT_FALSE(root->child("Help")->enabled);
    const auto& entries = root->child("Projection Distance")->children;
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].checked, false);
    EXPECT_EQ(entries[1].checked, true);

    far->setChecked(true);
    near->setChecked(false);
    root = panel->layout();
    EXPECT_EQ(root->children[1].children[0].checked, true);
    EXPECT_EQ(root->children[1].children[1].checked, false);
}

TEST_F(StatusItemInPanelTest, ClicksReachTheActionsOfTheMenuInForce) {
    std::vector<std::string> clicked;
    for (const char* name : {"first", "second"}) {
        auto menu = std::make_shared<QMenu>();
        QMenu* sub = menu->addMenu(QStringLiteral("Sub"));
        QObject::connect(sub->addAction(QStringLiteral("Inner")), &QAction::triggered,
                         [&clicked, name] { clicked.emplace_back(name); });
        item->setMenu(menu);
        if (!panel)
            come();
        EXPECT_TRUE(panel->click({"Sub", "Inner"}));
        EXPECT_TRUE(comesTrue([&] { return !clicked.empty() && clicked.back() == name; })) << name;
    }
    EXPECT_THAT(clicked, ElementsAre("first", "second"));
    EXPECT_FALSE(panel->click({"Sub", "Other"}));
}

// A panel may show the old menu for a moment longer.
TEST_F(StatusItemInPanelTest, AClickOnAnEntryThatHasGoneDoesNothing) {
    bool clicked = false;
    const auto old = menuOf({"Calibration"});
    QObject::connect(old->actions().front(), &QAction::triggered, [&] { clicked = true; });
    item->setMenu(old);
    come();
    const int id = panel->layout()->children.front().id;
    EXPECT_TRUE(panel->open());
    item->setMenu(menuOf({"Exit"}));
    panel->click(id);
    EXPECT_THAT(labels(), ElementsAre("Exit"));
    handleEvents();
    EXPECT_FALSE(clicked);
}

// As a program that waits in an action, while what it waits for brings another menu.
TEST_F(StatusItemInPanelTest, AMenuThatIsReplacedWhileItsActionIsAtWorkLivesUntilThatHasReturned) {
    auto menu = menuOf({"Calibration"});
    const std::weak_ptr<QMenu> old = menu;
    QEventLoop main;
    QObject::connect(menu->actions().front(), &QAction::triggered, [&] {
        QTimer::singleShot(0, [&] { item->setMenu(menuOf({"Exit"})); });
        QEventLoop nested;
        QTimer::singleShot(std::chrono::milliseconds(200), &nested, &QEventLoop::quit);
        nested.exec();
        EXPECT_FALSE(old.expired());
        main.quit();
    });
    item->setMenu(std::move(menu));
    come();
    // From within the loop that the action ends, whichever comes first: the action or the answer to the
    // click.
    QTimer::singleShot(0, &main, [&] { EXPECT_TRUE(panel->click({"Calibration"})); });
    QTimer::singleShot(std::chrono::seconds(10), &main, [&] {
        ADD_FAILURE() << "the action was not triggered";
        main.quit();
    });
    main.exec();
    EXPECT_THAT(labels(), ElementsAre("Exit"));
    EXPECT_TRUE(comesTrue([&] { return old.expired(); })) << "nobody needs it any more";
}

TEST_F(StatusItemInPanelTest, AMenuMayBeReplacedByItsOwnAction) {
    std::vector<std::weak_ptr<QMenu>> old;
    std::function<void()> replace = [&] {
        auto menu = menuOf({QStringLiteral("Entry %1").arg(old.size())});
        QObject::connect(menu->actions().front(), &QAction::triggered, [&] { replace(); });
        old.emplace_back(menu);
        item->setMenu(std::move(menu));
    };
    replace();
    come();
    for (int time = 0; time < 5; ++time) {
        EXPECT_TRUE(panel->open());
        EXPECT_TRUE(panel->click({"Entry " + std::to_string(time)}));
        EXPECT_TRUE(comesTrue([&] { return old.size() == std::size_t(time) + 2; }));
    }
    EXPECT_THAT(labels(), ElementsAre("Entry 5"));
    for (std::size_t time = 0; time < 5; ++time)
        EXPECT_TRUE(comesTrue([&] { return old[time].expired(); })) << time;
    EXPECT_FALSE(old[5].expired());
}

TEST_F(StatusItemInPanelTest, AFirstItemStandsAboveWhateverMenuIsInForceUntilItIsTakenAway) {
    int chosen = 0;
    item->setFirstItem("Stop", [&] { ++chosen; });
    come();
    EXPECT_THAT(labels(), ElementsAre("Stop"));
    const auto menu = menuOf({"Calibration", "Exit"});
    item->setMenu(menu);
    EXPECT_THAT(labels(), ElementsAre("Stop", "Calibration", "Exit"));
    EXPECT_EQ(menu->actions().size(), 2) << "the menu itself stays as it is";
    item->setMenu(menuOf({"Exit"}));
    EXPECT_THAT(labels(), ElementsAre("Stop", "Exit"));
    EXPECT_TRUE(panel->click({"Stop"}));
    EXPECT_TRUE(comesTrue([&] { return chosen == 1; }));
    item->setFirstItem("");
    EXPECT_THAT(labels(), ElementsAre("Exit"));
    item->setFirstItem("Halt", [&] { item->setFirstItem(""); });
    EXPECT_THAT(labels(), ElementsAre("Halt", "Exit"));
    SignalRecorder recorder(busAddress, "com.canonical.dbusmenu");
    EXPECT_TRUE(panel->click({"Halt"}));
    EXPECT_TRUE(comesTrue([&] { return labels().size() == 1; })) << "its own handler may take it away";
    EXPECT_FALSE(recorder.messages().empty()) << "a panel hears of it";
}

TEST_F(StatusItemInPanelTest, TellsWhenTheUserOpensTheMenu) {
    int opened = 0;
    item->setMenuOpened([&] { ++opened; });
    item->setMenu(menuOf({"Exit"}));
    come();
    EXPECT_EQ(opened, 0);
    EXPECT_TRUE(panel->open());
    EXPECT_EQ(opened, 1);
    item->setMenu(menuOf({"Calibration", "Exit"}));
    EXPECT_TRUE(panel->close());
    EXPECT_TRUE(panel->open());
    EXPECT_EQ(opened, 2);
    item->setMenuOpened(nullptr);
    EXPECT_TRUE(panel->open());
    EXPECT_EQ(opened, 2);
}

TEST_F(StatusItemInPanelTest, APanelThatStartsAgainHasTheItemWithItsMenuInForce) {
    item->setMenu(menuOf({"Calibration", "Exit"}));
    come();
    for (const char* label : {"One", "Two"}) {
        watcher.disappear();
        EXPECT_THAT(watcher.items(), IsEmpty());
        item->setMenu(menuOf({label}));
        watcher.appear();
        expectOneItem();
        EXPECT_THAT(labels(), ElementsAre(label));
    }
}

// Qt's Wayland side takes the token from there for the next window that asks for the focus, and a browser
// that shows the help finds it too.
TEST_F(StatusItemInPanelTest, APanelsTokenForTheFocusIsThereWhenTheClickComes) {
    qunsetenv("XDG_ACTIVATION_TOKEN");
    QByteArray found;
    const auto menu = menuOf({"Calibration"});
    QObject::connect(menu->actions().front(), &QAction::triggered,
                     [&] { found = qgetenv("XDG_ACTIVATION_TOKEN"); });
    item->setMenu(menu);
    come();
    for (const std::string token : {"first-1", "second-2"}) {
        EXPECT_TRUE(panel->giveActivationToken(token));
        EXPECT_TRUE(panel->click({"Calibration"}));
        EXPECT_TRUE(comesTrue([&] { return found.toStdString() == token; })) << found.toStdString();
    }
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST_F(StatusItemInPanelTest, GoesWithItsOwner) {
    item->setMenu(menuOf({"Exit"}));
    come();
    item.reset();
    EXPECT_TRUE(comesTrue([&] { return watcher.items().empty(); }));
}

TEST_F(StatusItemInPanelTest, AClickOpensTheMenuWhereThePanelDoesNot) {
    const auto menu = menuOf({"Calibration", "Exit"});
    QMenu* sub = menu->addMenu(QStringLiteral("Sub"));
    sub->addAction(QStringLiteral("Inner"));
    item->setMenu(menu);
    come();
    EXPECT_TRUE(panel->activateItem(10, 10));
    ASSERT_TRUE(comesTrue([] { return QApplication::activePopupWidget() != nullptr; }));
    auto* popup = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(popup, nullptr);
    EXPECT_EQ(popup->actions(), menu->actions());

    // The menu is replaced with a sub-menu open.
    popup->setActiveAction(sub->menuAction());
    ASSERT_TRUE(comesTrue([&] { return QApplication::activePopupWidget() == sub; }));
    item->setMenu(menuOf({"Exit"}));
    EXPECT_TRUE(comesTrue([] { return QApplication::activePopupWidget() == nullptr; }));
    EXPECT_THAT(labels(), ElementsAre("Exit"));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    const lightpen::PrivateBus bus;
    lightpen::busAddress = bus.address();
    return lightpen::runTests<QApplication>(argc, argv, bus, lightpen::Xvfb("800x600"));
}
