// SPDX-License-Identifier: MIT
#include "emulated/UnitWindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QSpinBox>

#include "emulated/CameraPainting.h"
#include "emulated/UnitOnDesk.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;

constexpr Size kScreen{1280, 800};

class UnitWindowTest : public UnitOnDesk {
protected:
    UnitWindowTest() {
        window.resize(1000, 640);
        window.show();
        window.refresh();
    }
    template <class Widget>
    Widget& part(const char* name) {
        return *window.findChild<Widget*>(QLatin1String(name));
    }
    void press(const char* button) {
        part<QPushButton>(button).click();
        wait(milliseconds(20));
        window.refresh();
    }
    std::string text(const char* label) { return part<QLabel>(label).text().toStdString(); }
    PenView& view() { return *dynamic_cast<PenView*>(window.findChild<QWidget*>(QStringLiteral("view"))); }

    // Where the view shows this point of the screen.
    QPointF shown(ScreenPoint point) { return drawnAt(unit.seen(point), cameraFrame(view().size())); }
    void mouse(QEvent::Type type, ScreenPoint place, Qt::MouseButton button = Qt::LeftButton) {
        const QPointF local = shown(place);
        QMouseEvent event(type, local, view().mapToGlobal(local), button, button, Qt::NoModifier);
        QCoreApplication::sendEvent(&view(), &event);
    }
    void click(ScreenPoint place, Qt::MouseButton button = Qt::LeftButton) {
        mouse(QEvent::MouseButtonPress, place, button);
        wait(milliseconds(80));
        mouse(QEvent::MouseButtonRelease, place, button);
    }
    // Where the pen will be after this time.
    std::optional<ScreenPoint> penAfter(Microseconds time) {
        return unit.penOnScreen(desk.clock.now() + time);
    }
    void expectPenAfter(Microseconds time, ScreenPoint place) {
        const auto pen = penAfter(time);
        ASSERT_TRUE(pen);
        EXPECT_NEAR(pen->x, place.x, 1e-6);
        EXPECT_NEAR(pen->y, place.y, 1e-6);
    }

    const bool application = ensureOffscreenApplication();
    UnitControl control{unit, desk.clock, kScreen};
    std::optional<QImage> nextDisplay;
    int looks = 0;
    bool handTouches = true;
    int closed = 0;
    UnitWindow window{control,
                      desk.clock,
                      {[this] {
                           ++looks;
                           return std::exchange(nextDisplay, std::nullopt);
                       },
                       [this](bool on) { handTouches = on; }, [this] { return handTouches; },
                       [this] { ++closed; }}};
};

TEST_F(UnitWindowTest, TheButtonsPlugAndUnplug) {
    EXPECT_TRUE(part<QPushButton>("plug").isEnabled());
    EXPECT_FALSE(part<QPushButton>("unplug").isEnabled());
    EXPECT_EQ(text("plugState"), "Not plugged in");
    press("plug");
    EXPECT_TRUE(unit.plugged());
    EXPECT_FALSE(part<QPushButton>("plug").isEnabled());
    EXPECT_EQ(text("plugState"), "Plugged in");
    press("unplug");
    EXPECT_FALSE(unit.plugged());
    EXPECT_FALSE(part<QPushButton>("replug").isEnabled());
}

TEST_F(UnitWindowTest, AReplugComesBackByItself) {
    press("plug");
    press("replug");
    EXPECT_FALSE(unit.plugged());
    wait(UnitControl::kReplugPause);
    EXPECT_TRUE(unit.plugged());
}

TEST_F(UnitWindowTest, StrayLightIsSwitched) {
    part<QCheckBox>("strayLight").click();
    EXPECT_EQ(unit.scene().strayLight, UnitControl::kLampBeside);
    part<QCheckBox>("strayLight").click();
    EXPECT_EQ(unit.scene().strayLight, std::nullopt);
}

TEST_F(UnitWindowTest, TheLampStandsBesideTheScreenInEveryPose) {
    for (const std::string_view name : UnitControl::poses()) {
        ASSERT_TRUE(control.pose(name));
        const ScreenPoint place = unit.optics().unproject(UnitControl::kLampBeside);
        EXPECT_TRUE(place.x < 0 || place.x > kScreen.width || place.y < 0 || place.y > kScreen.height)
            << name;
    }
}

TEST_F(UnitWindowTest, FirmwareBytesAndFlash) {
    part<QSpinBox>("wireless").setValue(0);
    part<QSpinBox>("board").setValue(0x34);
    part<QSpinBox>("cmos").setValue(0xFE);
    EXPECT_EQ(unit.information()->wireless, 0);
    EXPECT_EQ(unit.information()->NX9Ver, 0x34);
    EXPECT_EQ(unit.information()->cmosVer, 0xFE);
    EXPECT_EQ(text("flashState"), "Empty");
    press("calibrate");
    EXPECT_TRUE(unit.flash()->calibrated());
    EXPECT_EQ(text("flashState"), "Holds a calibration");
    press("erase");
    EXPECT_FALSE(unit.flash()->calibrated());
}

TEST_F(UnitWindowTest, TheHandIsAllowedAndForbidden) {
    EXPECT_TRUE(part<QCheckBox>("hand").isChecked());
    part<QCheckBox>("hand").click();
    EXPECT_FALSE(handTouches);
    part<QCheckBox>("hand").click();
    EXPECT_TRUE(handTouches);
}

TEST_F(UnitWindowTest, ThePoseIsChosen) {
    auto& box = part<QComboBox>("pose");
    EXPECT_EQ(box.currentText(), "keystone");
    box.setCurrentText("rotated");
    Q_EMIT box.textActivated("rotated");
    EXPECT_EQ(unit.optics().corners().topRight, Optics::rotated(kScreen).corners().topRight);
}

TEST_F(UnitWindowTest, WhatCommandsChangedIsShown) {
    unit.plug();
    unit.strayLight(CameraPoint{900, 900});
    unit.information()->wireless = 0;
    unit.information()->cmosVer = 0x77;
    control.pose("straight");
    handTouches = false;
    window.refresh();
    EXPECT_EQ(text("plugState"), "Plugged in");
    EXPECT_TRUE(part<QCheckBox>("strayLight").isChecked());
    EXPECT_EQ(unit.scene().strayLight, (CameraPoint{900, 900})); // shown, not switched
    EXPECT_EQ(part<QSpinBox>("wireless").value(), 0);
    EXPECT_EQ(part<QSpinBox>("cmos").value(), 0x77);
    EXPECT_EQ(part<QComboBox>("pose").currentText(), "straight");
    EXPECT_FALSE(part<QCheckBox>("hand").isChecked());
}

// The mouse

TEST_F(UnitWindowTest, AClickIsATapAtThatPlaceOfTheScreen) {
    click({1100, 90});
    expectPenAfter(DrawnGesture::kPause, {1100, 90});
    expectPenAfter(DrawnGesture::kPause + milliseconds(119), {1100, 90});
    EXPECT_FALSE(penAfter(DrawnGesture::kPause - milliseconds(1)));
    EXPECT_FALSE(penAfter(DrawnGesture::kPause + milliseconds(120)));
}

TEST_F(UnitWindowTest, AStrokeIsPlayedWhenTheButtonIsLetGoOf) {
    mouse(QEvent::MouseButtonPress, {200, 600});
    wait(milliseconds(100));
    mouse(QEvent::MouseMove, {640, 400});
    wait(milliseconds(300));
    EXPECT_EQ(unit.toPlay(), Microseconds::zero());
    mouse(QEvent::MouseButtonRelease, {1000, 700});
    const Microseconds begun = DrawnGesture::kPause + DrawnGesture::kRest;
    expectPenAfter(begun - milliseconds(1), {200, 600});
    expectPenAfter(begun + milliseconds(50), {420, 500});
    expectPenAfter(begun + milliseconds(250), {820, 550});
}

TEST_F(UnitWindowTest, WhatThePenDoesToTheMouseIsNoNewGesture) {
    click({1100, 90});
    wait(DrawnGesture::kPause + milliseconds(10));
    click({300, 300}); // while it plays
    wait(milliseconds(300));
    EXPECT_EQ(unit.toPlay(), Microseconds::zero());
    click({300, 300}); // what it did may still arrive
    EXPECT_EQ(unit.toPlay(), Microseconds::zero());
    wait(UnitControl::kEcho);
    click({300, 300});
    expectPenAfter(DrawnGesture::kPause, {300, 300});
}

TEST_F(UnitWindowTest, OtherButtonsDrawNothing) {
    click({300, 300}, Qt::RightButton);
    mouse(QEvent::MouseMove, {400, 300});
    mouse(QEvent::MouseButtonRelease, {400, 300});
    EXPECT_EQ(unit.toPlay(), Microseconds::zero());
}

// The view

TEST_F(UnitWindowTest, TheViewShowsScreenPenAndLight) {
    QImage display(160, 100, QImage::Format_RGB32);
    display.fill(0xFF0000FF);
    nextDisplay = display;
    unit.strayLight(CameraPoint{2420, 120});
    unit.touch({320, 640});
    window.refresh();
    const QImage image = view().grab().toImage();
    const auto at = [&](QPointF place) { return image.pixel(place.toPoint()); };
    EXPECT_EQ(at(shown({320, 640})), 0xFFFFFFFF);
    EXPECT_EQ(at(drawnAt({2420, 120}, cameraFrame(view().size()))), 0xFFFFFFFF);
    const QRgb inside = at(shown({1200, 100}));
    EXPECT_GT(qBlue(inside), 80);
    EXPECT_EQ(qRed(inside), 0);
    EXPECT_LT(qBlue(at(shown({1310, 100}))), 60);
    EXPECT_LT(qBlue(at(shown({-30, 100}))), 60);
}

TEST_F(UnitWindowTest, OnlyAVisibleWindowLooksAtTheScreen) {
    const auto looksWithin = [&] {
        const int before = looks;
        const auto end = std::chrono::steady_clock::now() + milliseconds(400);
        while (std::chrono::steady_clock::now() < end)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        return looks - before;
    };
    EXPECT_GT(looksWithin(), 0);
    window.hide();
    EXPECT_EQ(looksWithin(), 0);
}

TEST_F(UnitWindowTest, ClosingItIsTold) {
    window.close();
    EXPECT_EQ(closed, 1);
}

} // namespace
} // namespace lightpen
