// SPDX-License-Identifier: MIT
// The status item on a desktop without a session bus: in the tray of the X server, which embeds its window.
#include "app/StatusItem.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include <QApplication>
#include <QPixmap>

#include "kit/TestPlatform.h"
#include "kit/linux/FakeXTray.h"
#include "kit/linux/TestMain.h"
#include "kit/linux/XNeighbour.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

// Set by main.
std::string display;

QIcon plainIcon(QRgb colour) {
    QPixmap pixmap(32, 32);
    pixmap.fill(QColor::fromRgb(colour));
    return QIcon(pixmap);
}

class StatusItemInXTrayTest : public testing::Test {
protected:
    StatusItemInXTrayTest() {
        item.setImage(plainIcon(0xD03010));
        auto menu = std::make_shared<QMenu>();
        QObject::connect(menu->addAction(QStringLiteral("Exit")), &QAction::triggered, [this] { ++exits; });
        item.setMenu(menu);
        tray.appear();
        desk.statusBar.come();
    }
    void embed() {
        ASSERT_TRUE(comesTrue([&] {
            tray.embed();
            return colour() == 0xD03010u;
        })) << std::hex
            << colour();
    }
    std::uint32_t colour() { return neighbour.pixelAt(FakeXTray::kSide / 2, FakeXTray::kSide / 2); }
    static bool menuIsOpen() { return QApplication::activePopupWidget() != nullptr; }
    // With the left button.
    void clickOnTheIcon() {
        neighbour.movePointer(FakeXTray::kSide / 2, FakeXTray::kSide / 2);
        neighbour.click();
    }

    TestPlatform desk;
    FakeXTray tray{display};
    XNeighbour neighbour{display};
    int exits = 0;
    StatusItem item;
};

TEST_F(StatusItemInXTrayTest, ShowsItsPictureAndTheNextOne) {
    embed();
    item.setImage(plainIcon(0x2040A0));
    EXPECT_TRUE(comesTrue([&] { return colour() == 0x2040A0u; })) << std::hex << colour();
}

TEST_F(StatusItemInXTrayTest, AClickOpensTheMenuAndTheKeyboardPicksAnEntry) {
    int opened = 0;
    item.setMenuOpened([&] { ++opened; });
    embed();
    clickOnTheIcon();
    ASSERT_TRUE(comesTrue([] { return menuIsOpen(); }));
    EXPECT_EQ(opened, 1);
    ASSERT_TRUE(comesTrue([&] { return !neighbour.keyboardIsFree(); }));
    neighbour.pressKey(XNeighbour::kDown);
    neighbour.pressKey(XNeighbour::kReturn);
    EXPECT_TRUE(comesTrue([&] { return exits == 1; }));
    EXPECT_FALSE(menuIsOpen());
}

TEST_F(StatusItemInXTrayTest, AFirstItemIsTheFirstThatTheKeyboardReaches) {
    int chosen = 0;
    item.setFirstItem("Stop", [&] { ++chosen; });
    embed();
    for (const int round : {1, 2}) {
        clickOnTheIcon();
        ASSERT_TRUE(comesTrue([] { return menuIsOpen(); }));
        ASSERT_TRUE(comesTrue([&] { return !neighbour.keyboardIsFree(); }));
        neighbour.pressKey(XNeighbour::kDown);
        neighbour.pressKey(XNeighbour::kReturn);
        EXPECT_TRUE(comesTrue([&] { return chosen + exits == round; }));
        EXPECT_EQ(chosen, 1);
        item.setFirstItem("");
    }
}

TEST_F(StatusItemInXTrayTest, AMenuThatIsReplacedWhileItIsOpenCloses) {
    embed();
    clickOnTheIcon();
    ASSERT_TRUE(comesTrue([] { return menuIsOpen(); }));
    item.setMenu(std::make_shared<QMenu>());
    EXPECT_TRUE(comesTrue([&] { return !menuIsOpen() && neighbour.keyboardIsFree(); }));
    EXPECT_EQ(exits, 0);
}

TEST_F(StatusItemInXTrayTest, ComesBackWithThePanel) {
    embed();
    tray.disappear();
    tray.appear();
    embed();
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    const lightpen::Xvfb server("800x600");
    lightpen::display = server.display();
    return lightpen::runTests<QApplication>(argc, argv, lightpen::NoBus(), server);
}
