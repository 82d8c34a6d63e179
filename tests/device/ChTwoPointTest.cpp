// SPDX-License-Identifier: MIT
#include "device/ChTwoPoint.h"

#include <array>
#include <thread>

#include <QApplication>
#include <QKeyEvent>
#include <QPointer>

#include "device/VirtualKeyCodes.h"
#include "kit/device/DriverFixture.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

class ChTwoPointTest : public DriverFixture {
protected:
    ~ChTwoPointTest() override {
        sharedState.pairingKeyWindow = nullptr;
        deleteUnused();
    }
    static std::array<int, 4> flags() {
        return {sharedState.keyZPressed, sharedState.keyDeletePressed, sharedState.keyCPressed,
                sharedState.keyEscapePressed};
    }
    static void deleteUnused() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
    static ChTwoPoint* current() {
        return dynamic_cast<ChTwoPoint*>(sharedState.pairingKeyWindow.load().get());
    }

    const bool application = ensureOffscreenApplication();
};

TEST_F(ChTwoPointTest, EachKeySetsItsFlagAndIsLogged) {
    ChTwoPoint window({{0, 0}, {20, 20}});
    log.clear();
    window.keyDown(kVirtualKeyDelete);
    window.keyDown(7);
    window.keyDown(kVirtualKeyEscape);
    window.keyDown(kVirtualKeyZ);
    window.keyDown(kVirtualKeyC);
    EXPECT_THAT(log.takeLines(),
                ElementsAre("Event n:111 keyCode : (0 , 1 , 0 , 0)", "Event n:111 keyCode : (0 , 1 , 0 , 0)",
                            "Event n:111 keyCode : (0 , 1 , 0 , 1)", "Event n:111 keyCode : (1 , 1 , 0 , 1)",
                            "Event n:111 keyCode : (1 , 1 , 1 , 1)"));
}

TEST_F(ChTwoPointTest, KeysOfTheKeyboardArrive) {
    ChTwoPoint window({{0, 0}, {20, 20}});
    const auto press = [&](int key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &event);
        EXPECT_TRUE(event.isAccepted());
        return flags();
    };
    EXPECT_EQ(press(Qt::Key_Tab), (std::array{0, 0, 0, 0}));
    EXPECT_EQ(press(Qt::Key_Backspace), (std::array{0, 1, 0, 0}));
    EXPECT_EQ(press(Qt::Key_Z), (std::array{1, 1, 0, 0}));
    EXPECT_EQ(press(Qt::Key_Escape), (std::array{1, 1, 0, 1}));
    EXPECT_EQ(press(Qt::Key_C), (std::array{1, 1, 1, 1}));
}

TEST_F(ChTwoPointTest, WhereThereAreNoLatinLettersTheirPlacesCount) {
    ChTwoPoint window({{0, 0}, {20, 20}});
    const auto press = [&](int key, std::uint32_t place) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, place, 0, 0);
        QCoreApplication::sendEvent(&window, &event);
        return flags();
    };
    constexpr int kCyrillicYa = 0x042F, kThaiChoChing = 0x0E09;
    EXPECT_EQ(press(Qt::Key_Y, 52), (std::array{0, 0, 0, 0})) << "a German keyboard has a Z of its own";
    EXPECT_EQ(press(kCyrillicYa, 53), (std::array{0, 0, 0, 0}));
    EXPECT_EQ(press(kCyrillicYa, 52), (std::array{1, 0, 0, 0}));
    EXPECT_EQ(press(kThaiChoChing, 54), (std::array{1, 0, 1, 0}));
    EXPECT_EQ(press(Qt::Key_Backspace, 22), (std::array{1, 1, 1, 0}));
}

TEST_F(ChTwoPointTest, NothingOfItIsSeenOrClicked) {
    desk.desktop.frame = ScreenRect{{0, 0}, {800, 800}};
    ChTwoPoint window({{0, 0}, {20, 20}});
    EXPECT_EQ(window.geometry(), QRect(0, 780, 20, 20));
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

TEST_F(ChTwoPointTest, AWiredUnitsKeyWindowIsShownWithTheKeyboard) {
    desk.desktop.frame = ScreenRect{{0, 0}, {1440, 900}};
    sharedState.wireless = 0;
    driver->startDevice();
    ASSERT_TRUE(current());
    EXPECT_TRUE(current()->isVisible());
    EXPECT_EQ(current()->level(), WindowLevel::cursor);
    EXPECT_FALSE(current()->ignoresMouseEvents());
    EXPECT_EQ(current()->geometry(), QRect(0, 880, 20, 20));
    QCoreApplication::processEvents();
    EXPECT_EQ(QApplication::activeWindow(), current());
}

TEST_F(ChTwoPointTest, EachStartMakesANewOneAndLeavesTheLastOneOpen) {
    sharedState.wireless = 0;
    driver->startDevice();
    const QPointer<ChTwoPoint> first = current();
    driver->startDevice();
    ASSERT_TRUE(current());
    ASSERT_NE(current(), first.data());
    EXPECT_TRUE(current()->isVisible());
    deleteUnused();
    ASSERT_FALSE(first.isNull());
    EXPECT_TRUE(first->isVisible());
    first->keyDown(kVirtualKeyC);
    EXPECT_EQ(flags(), (std::array{0, 0, 1, 0}));
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
