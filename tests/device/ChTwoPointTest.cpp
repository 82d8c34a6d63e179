// SPDX-License-Identifier: MIT
#include "device/ChTwoPoint.h"

#include <thread>

#include <QApplication>
#include <QKeyEvent>
#include <QPointer>

#include "device/VirtualKeyCodes.h"
#include "kit/device/DriverFixture.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

class ChTwoPointTest : public DriverFixture {
protected:
    // What earlier tests have let go of is not to be found.
    ChTwoPointTest() { deleteUnused(); }
    static void deleteUnused() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
    // The key windows that the driver has made, oldest first.
    static std::vector<QPointer<ChTwoPoint>> made() {
        const auto found = topWindows<ChTwoPoint>();
        return {found.begin(), found.end()};
    }
    // Which of Z, Delete, C and Escape count as pressed, as the last line says.
    std::string flags() const {
        const std::string line = log.lines().back();
        return line.substr(line.find('('));
    }
    std::string press(ChTwoPoint& window, int key, std::uint32_t place = 0) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, place, 0, 0);
        QCoreApplication::sendEvent(&window, &event);
        EXPECT_TRUE(event.isAccepted());
        return flags();
    }
    // Starts a driver whose unit's pens are tied by a table.
    void startTied() {
        unitAnswers.wireless = 0;
        unit.plugIn();
        start();
    }

    const bool application = ensureOffscreenApplication();
};

TEST_F(ChTwoPointTest, EachKeySetsItsFlagAndIsLogged) {
    ChTwoPoint window({{0, 0}, {20, 20}});
    happened.clear();
    for (const std::uint16_t code :
         {kVirtualKeyDelete, std::uint16_t{7}, kVirtualKeyEscape, kVirtualKeyZ, kVirtualKeyC})
        window.keyDown(code);
    EXPECT_TRUE(matchesTranscript("keys"));
}

TEST_F(ChTwoPointTest, KeysOfTheKeyboardArrive) {
    ChTwoPoint window({{0, 0}, {20, 20}});
    EXPECT_EQ(press(window, Qt::Key_Tab), "(0 , 0 , 0 , 0)");
    EXPECT_EQ(press(window, Qt::Key_Backspace), "(0 , 1 , 0 , 0)");
    EXPECT_EQ(press(window, Qt::Key_Z), "(1 , 1 , 0 , 0)");
    EXPECT_EQ(press(window, Qt::Key_Escape), "(1 , 1 , 0 , 1)");
    EXPECT_EQ(press(window, Qt::Key_C), "(1 , 1 , 1 , 1)");
}

TEST_F(ChTwoPointTest, WhereThereAreNoLatinLettersTheirPlacesCount) {
    ChTwoPoint window({{0, 0}, {20, 20}});
    constexpr int kCyrillicYa = 0x042F, kThaiChoChing = 0x0E09;
    EXPECT_EQ(press(window, Qt::Key_Y, 52), "(0 , 0 , 0 , 0)") << "a German keyboard has a Z of its own";
    EXPECT_EQ(press(window, kCyrillicYa, 53), "(0 , 0 , 0 , 0)");
    EXPECT_EQ(press(window, kCyrillicYa, 52), "(1 , 0 , 0 , 0)");
    EXPECT_EQ(press(window, kThaiChoChing, 54), "(1 , 0 , 1 , 0)");
    EXPECT_EQ(press(window, Qt::Key_Backspace, 22), "(1 , 1 , 1 , 0)");
}

TEST_F(ChTwoPointTest, NothingOfItIsSeenOrClicked) {
    desk.desktop.frame = ScreenRect{{0, 0}, {800, 800}};
    ChTwoPoint window({{0, 0}, {20, 20}});
    EXPECT_EQ(window.geometry(), QRect(0, 780, 20, 20));
    EXPECT_EQ(window.minimumSize(), QSize(20, 20)) << "else a tiling compositor gives it a tile";
    EXPECT_EQ(window.maximumSize(), QSize(20, 20));
    EXPECT_EQ(window.windowTitle(), "LightPenNX7");
    EXPECT_TRUE((window.mask() & window.rect()).isEmpty());
    EXPECT_FALSE(window.mask().isEmpty()) << "an empty mask is none";
    EXPECT_TRUE(window.testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_EQ(window.level(), WindowLevel::statusBar);
    EXPECT_TRUE(ChTwoPoint::canBecomeKeyWindow());
    window.setIgnoresMouseEvents(true);
    EXPECT_TRUE(window.ignoresMouseEvents());
    EXPECT_FALSE(window.isVisible());
}

// As the driver makes it

TEST_F(ChTwoPointTest, ATiedUnitsKeyWindowIsShownWithTheKeyboard) {
    desk.desktop.frame = ScreenRect{{0, 0}, {1440, 900}};
    startTied();
    ASSERT_EQ(made().size(), 1u);
    const ChTwoPoint& window = *made().front();
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.level(), WindowLevel::cursor);
    EXPECT_FALSE(window.ignoresMouseEvents());
    EXPECT_EQ(window.geometry(), QRect(0, 880, 20, 20));
    QCoreApplication::processEvents();
    EXPECT_EQ(QApplication::activeWindow(), &window);
}

TEST_F(ChTwoPointTest, EachStartMakesANewOneAndLeavesTheLastOneOpen) {
    startTied();
    ASSERT_EQ(made().size(), 1u);
    const QPointer<ChTwoPoint> first = made().front();
    driver->startDevice();
    deleteUnused();
    EXPECT_EQ(made().size(), 2u);
    ASSERT_FALSE(first.isNull());
    EXPECT_TRUE(first->isVisible());
    first->keyDown(kVirtualKeyC);
    EXPECT_EQ(flags(), "(0 , 0 , 1 , 0)");
}

TEST_F(ChTwoPointTest, TheKeyboardIsAskedForAgainOnlyWhereThePensAreTied) {
    EventGeneratorNX7::askForPairingKeys(); // there is no window yet
    startTied();
    ASSERT_EQ(made().size(), 1u);
    made().front()->hide();
    EventGeneratorNX7::askForPairingKeys();
    EXPECT_TRUE(made().front()->isVisible());
    unplug();
    unitAnswers.wireless = 1;
    plugIn();
    made().front()->hide();
    EventGeneratorNX7::askForPairingKeys();
    EXPECT_FALSE(made().front()->isVisible());
}

TEST_F(ChTwoPointTest, KeysDieWhenTheKeyboardGoesElsewhere) {
    startTied();
    QCoreApplication::processEvents();
    ChTwoPoint& window = *made().front();
    EXPECT_EQ(press(window, Qt::Key_Z), "(1 , 0 , 0 , 0)");
    QWidget editor;
    editor.show();
    editor.activateWindow();
    QCoreApplication::processEvents();
    ASSERT_FALSE(window.isActiveWindow());
    EXPECT_EQ(press(window, Qt::Key_Backspace), "(0 , 1 , 0 , 0)") << "the pair must be typed in one go";
}

// The menu's turn

TEST_F(ChTwoPointTest, AMenuLeavesTheKeyboardWhereTheStartGotIt) {
    startTied();
    QCoreApplication::processEvents();
    ChTwoPoint& window = *made().front();
    ASSERT_TRUE(window.isActiveWindow());
    EventGeneratorNX7::askForPairingKeys();
    EventGeneratorNX7::giveBackPairingKeys();
    EXPECT_TRUE(window.isActiveWindow()) << "nothing was borrowed";
    QWidget editor;
    editor.show();
    editor.activateWindow();
    QCoreApplication::processEvents();
    EventGeneratorNX7::askForPairingKeys();
    QCoreApplication::processEvents();
    EXPECT_TRUE(editor.isActiveWindow()) << "nobody types into the wrong window";
}

TEST_F(ChTwoPointTest, TheLastReferenceMayBeDroppedOnAnotherThread) {
    auto window = newPairingKeyWindow();
    const QPointer<ChTwoPoint> widget = dynamic_cast<ChTwoPoint*>(window.get());
    ASSERT_FALSE(widget.isNull());
    std::thread([window = std::move(window)]() mutable { window = nullptr; }).join();
    EXPECT_FALSE(widget.isNull()) << "a widget is destroyed on its own thread";
    deleteUnused();
    EXPECT_TRUE(widget.isNull());
}

} // namespace
} // namespace lightpen
