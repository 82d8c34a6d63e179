// SPDX-License-Identifier: MIT
#include "calibration/KVRCalibrationWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QMouseEvent>

#include "device/VirtualKeyCodes.h"
#include "kit/calibration/SessionFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NoCalibration final : public EventGeneratorNX7CallbackProtocol {
public:
    void lightPenCallbackAtPoint(CameraPoint, EventGeneratorNX7&) override {}
};

class KVRCalibrationWindowTest : public SessionFixture {
protected:
    KVRCalibrationWindowTest() {
        center.reset(); // the window alone
        driver->setDelegate(std::make_shared<NoCalibration>());
        plain.setDelegate([this](const Notification& notification) { closings.push_back(notification); });
    }
    static bool press(QWidget& receiver, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QApplication::sendEvent(&receiver, &event);
        return event.isAccepted();
    }
    // A click of the mouse on whatever is there; whoever does not take the press never sees the release.
    static void click(KVRCalibrationWindow& shown, QPoint place) {
        mouse(shown, QEvent::MouseButtonPress, place);
        mouse(shown, QEvent::MouseButtonRelease, place);
    }
    static void mouse(KVRCalibrationWindow& shown, QEvent::Type type, QPoint place) {
        QWidget* there = shown.childAt(place);
        QWidget& receiver = there ? *there : shown;
        const QPointF local = receiver.mapFrom(&shown, place);
        QMouseEvent event(type, local, shown.mapToGlobal(place), Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(&receiver, &event);
    }
    void showWith(const std::optional<std::string>& label) {
        plain.setCalibrationScreen(Screen{"elsewhere", {{0, 0}, {640, 480}}});
        plain.setWayOut(label);
        plain.makeKeyAndOrderFront();
    }
    static constexpr QPoint kOnLabel{320, 480 - 20};
    static constexpr QPoint kElsewhere{320, 240};

    static QRgb groundOf(KVRCalibrationWindow& shown) {
        QImage image(shown.size(), QImage::Format_RGB32);
        shown.render(&image);
        return image.pixel(image.width() / 2, image.height() / 2);
    }

    KVRCalibrationWindow plain;
    std::vector<Notification> closings;
};

TEST_F(KVRCalibrationWindowTest, IsBorderlessAboveTheOthersAndTakesTheKeyboard) {
    EXPECT_TRUE(plain.canBecomeKeyWindow());
    EXPECT_TRUE(plain.isWindow());
    EXPECT_TRUE(plain.windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_TRUE(plain.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    plain.setCalibrationScreen(Screen{"elsewhere", {{1920, 0}, {640, 480}}});
    EXPECT_FALSE(plain.isVisible());
    plain.makeKeyAndOrderFront();
    EXPECT_TRUE(plain.isVisible());
    QCoreApplication::processEvents();
    EXPECT_TRUE(plain.isActiveWindow());
    EXPECT_EQ(plain.size(), QSize(640, 480)) << "a screen that the desktop does not have counts by its size";
}

TEST_F(KVRCalibrationWindowTest, CoversAScreenOfTheDesktop) {
    const QScreen& screen = *QGuiApplication::primaryScreen();
    const QSize size = screen.size();
    plain.setCalibrationScreen(
        Screen{screen.name().toStdString(), {{0, 0}, {double(size.width()), double(size.height())}}});
    for (int round = 0; round < 2; ++round) {
        plain.makeKeyAndOrderFront();
        EXPECT_EQ(plain.geometry(), screen.geometry());
        EXPECT_TRUE(plain.isFullScreen());
        EXPECT_EQ(plain.contentView().geometry(), QRect(QPoint(), size));
        plain.closeWindow();
    }
}

TEST_F(KVRCalibrationWindowTest, WithoutAScreenItIsEmpty) {
    plain.setCalibrationScreen(std::nullopt);
    plain.makeKeyAndOrderFront();
    EXPECT_TRUE(plain.contentView().size().isEmpty());
}

TEST_F(KVRCalibrationWindowTest, GroundHasTheColourOfTheSession) {
    plain.setCalibrationScreen(Screen{"", {{0, 0}, {300, 200}}});
    for (const auto& [color, pixel] : {std::pair{kWhiteColor, 0xFFFFFFFFU},
                                       {kBlackColor, 0xFF000000U},
                                       {Color{1, 0, 0, 1}, 0xFFFF0000U}}) {
        plain.setBackgroundColor(color);
        plain.makeKeyAndOrderFront();
        EXPECT_EQ(groundOf(plain), pixel);
    }
}

TEST_F(KVRCalibrationWindowTest, AnyKeyButEscapeIsLoggedSwallowedAndWithoutEffect) {
    const std::pair<int, int> keys[] = {{Qt::Key_Z, 6},          {Qt::Key_C, 8},      {Qt::Key_Delete, 51},
                                        {Qt::Key_Backspace, 51}, {Qt::Key_Q, 65535},  {Qt::Key_Return, 65535},
                                        {Qt::Key_Tab, 65535},    {Qt::Key_F4, 65535}, {Qt::Key_Space, 65535}};
    plain.makeKeyAndOrderFront();
    log.clear();
    for (const auto& [key, code] : keys) {
        EXPECT_TRUE(press(plain, key));
        EXPECT_THAT(log.takeLines(), ElementsAre(testing::EndsWith(": " + std::to_string(code))));
    }
    EXPECT_TRUE(press(plain, Qt::Key_Q, Qt::ControlModifier));
    EXPECT_TRUE(plain.isVisible());
    EXPECT_NE(driver->delegate(), nullptr);
    EXPECT_THAT(canceled, IsEmpty());
}

TEST_F(KVRCalibrationWindowTest, EscapeTakesThePenAwayAndThenTellsEverybody) {
    annotation = [this] { return driver->delegate() ? " (delegate)" : ""; };
    EXPECT_TRUE(press(plain, Qt::Key_Escape));
    EXPECT_THAT(happened.takeDeeds(), ElementsAre("posted kCalibrationDidCanceled"));
    ASSERT_EQ(canceled.size(), 1u);
    EXPECT_EQ(canceled.front().object, &plain);
    EXPECT_TRUE(canceled.front().userInfo.empty());
    EXPECT_EQ(driver->delegate(), nullptr);
    EXPECT_THAT(closings, IsEmpty()) << "whoever hears of it closes the window";
}

TEST_F(KVRCalibrationWindowTest, KeyCodeOfSixteenBitsIsLoggedAsItIs) {
    happened.clear();
    plain.keyDown(kVirtualKeyZ);
    plain.keyDown(0);
    plain.keyDown(0xABCD);
    EXPECT_TRUE(matchesTranscript("calibration/transcripts/keys"));
}

TEST_F(KVRCalibrationWindowTest, KeysThatReachTheTargetAreTheWindows) {
    const auto target = std::make_shared<KVRCalibrationTarget>(WindowRect{{5, 5}, {20, 20}}, 0);
    target->addToSuperview(plain.contentView());
    plain.makeKeyAndOrderFront();
    EXPECT_FALSE(target->hasFocus());
    press(*target, Qt::Key_Escape);
    EXPECT_EQ(canceled.size(), 1u);
}

TEST_F(KVRCalibrationWindowTest, ClosingTellsTheDelegateAndHides) {
    plain.makeKeyAndOrderFront();
    plain.closeWindow();
    ASSERT_EQ(closings.size(), 1u);
    EXPECT_EQ(closings.front().name, "NSWindowWillCloseNotification");
    EXPECT_EQ(closings.front().object, &plain);
    EXPECT_FALSE(plain.isVisible());
    EXPECT_THAT(canceled, IsEmpty());
}

TEST_F(KVRCalibrationWindowTest, AClickOnTheLabelIsEscapeAndOneElsewhereIsNothing) {
    showWith("Stop it");
    click(plain, kElsewhere);
    EXPECT_THAT(canceled, IsEmpty());
    click(plain, kOnLabel);
    EXPECT_THAT(canceled, testing::SizeIs(1));
    EXPECT_EQ(driver->delegate(), nullptr);
    showWith("");
    click(plain, kOnLabel);
    click(plain, kElsewhere);
    EXPECT_THAT(canceled, testing::SizeIs(1)) << "there is no such place";
}

TEST_F(KVRCalibrationWindowTest, WithoutALabelAClickAnywhereIsEscapeAndNothingIsShown) {
    const auto target = std::make_shared<KVRCalibrationTarget>(WindowRect{{30, 30}, {20, 20}}, 1);
    target->addToSuperview(plain.contentView());
    plain.setBackgroundColor(kBlackColor);
    std::size_t clicks = 0;
    for (const QPoint place : {kOnLabel, kElsewhere, QPoint(40, 480 - 40), QPoint(639, 0)}) {
        showWith(std::nullopt);
        QImage picture(plain.size(), QImage::Format_RGB32);
        target->removeFromSuperview();
        plain.render(&picture);
        target->addToSuperview(plain.contentView());
        QImage black(plain.size(), QImage::Format_RGB32);
        black.fill(Qt::black);
        EXPECT_EQ(picture, black);
        click(plain, place);
        EXPECT_THAT(canceled, testing::SizeIs(++clicks)) << place.x();
    }
}

// The click in the menu that has begun the session lets its button go over the window.
TEST_F(KVRCalibrationWindowTest, HalfAClickIsNone) {
    showWith(std::nullopt);
    mouse(plain, QEvent::MouseButtonRelease, kElsewhere);
    mouse(plain, QEvent::MouseButtonPress, kElsewhere);
    EXPECT_THAT(canceled, IsEmpty());
    showWith(std::nullopt);
    mouse(plain, QEvent::MouseButtonRelease, kElsewhere);
    EXPECT_THAT(canceled, IsEmpty()) << "it was pressed in the session before";
}

TEST_F(KVRCalibrationWindowTest, TargetsOutliveTheWindowAndKeepTheirPlace) {
    const auto target = std::make_shared<KVRCalibrationTarget>(WindowRect{{5, 5}, {20, 20}}, 0);
    auto mortal = std::make_unique<KVRCalibrationWindow>();
    target->addToSuperview(mortal->contentView());
    mortal->setCalibrationScreen(Screen{"", {{0, 0}, {300, 200}}});
    EXPECT_EQ(target->geometry(), QRect(5, 175, 20, 20)) << "placed anew with the view's height";
    mortal.reset();
    EXPECT_EQ(target->parentWidget(), nullptr);
    EXPECT_EQ(target->frame(), (WindowRect{{5, 5}, {20, 20}}));
}

} // namespace
} // namespace lightpen
