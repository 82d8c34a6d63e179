// SPDX-License-Identifier: MIT
// The application's windows on a projector's small screen, as the window manager and the user's keyboard have
// them. QT_SCALE_FACTOR says how many pixels a point has.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "app/AboutPanel.h"
#include "app/DebugWindow.h"
#include "app/PreviewPlace.h"
#include "app/PreviewWindow.h"
#include "device/FloatPanel.h"
#include "kit/ChildProcess.h"
#include "kit/TestPlatform.h"
#include "kit/linux/TestMain.h"
#include "kit/linux/WindowManager.h"
#include "kit/linux/XNeighbour.h"
#include "kit/resources/ResourceFiles.h"
#include "measure/desktop/Patience.h"

namespace lightpen {
namespace {

constexpr int kWidth = 1024, kHeight = 768; // in points
constexpr std::uint32_t kBlue = 0x0000FF;

// Set by main.
std::string display;
int scale = 1;

QRect screen() {
    return {0, 0, kWidth, kHeight};
}

QRect panelPlace() {
    return checkPanelPlace(screen());
}

class WindowsOnScreenTest : public testing::Test {
protected:
    WindowsOnScreenTest() {
        desk.desktop.frame = ScreenRect{{0, 0}, {kWidth, kHeight}};
        say("English");
    }
    ~WindowsOnScreenTest() override {
        for (QWidget* each : QApplication::topLevelWidgets())
            each->hide();
        QCoreApplication::processEvents();
    }
    void say(const std::string& language) {
        for (const auto& [key, text] : shippedTable(language)) {
            const QString words = QString::fromStdString(text);
            if (key.starts_with("Strong lighting"))
                window.previewMessage()->setText(words);
            else if (key == "Exit")
                window.previewExitButton()->setText(words);
            else if (key == "Detect again!")
                window.previewDetectAgainButton()->setText(words);
        }
    }
    // Shown, framed, and with the keyboard.
    void show() {
        window.makeKeyAndOrderFront();
        ASSERT_TRUE(comesTrue([&] { return window.isActiveWindow() && isFramed(window); }));
    }
    static bool isFramed(const QWidget& shown) { return shown.frameGeometry().height() > shown.height() + 5; }
    void press(std::uint8_t key) {
        neighbour.pressKey(key);
        QCoreApplication::processEvents();
    }
    std::uint32_t pixelAt(const QPoint& point) {
        return neighbour.pixelAt(std::int16_t(point.x() * scale), std::int16_t(point.y() * scale));
    }
    xcb_window_t openBlueWindow() {
        return neighbour.openWindow(
            {0, 0, std::uint16_t(kWidth * scale), std::uint16_t(kHeight * scale), kBlue});
    }

    TestPlatform desk;
    XNeighbour neighbour{display};
    PreviewWindow window;
};

class PreviewInLanguageTest : public WindowsOnScreenTest, public testing::WithParamInterface<Language> {};

TEST_P(PreviewInLanguageTest, ThePanelDoesNotCoverItAndItsTextsAreWhole) {
    say(GetParam().key);
    show();
    EXPECT_TRUE(screen().contains(window.frameGeometry()));
    EXPECT_FALSE(window.frameGeometry().intersects(panelPlace()));
    const QLabel& message = *window.previewMessage();
    EXPECT_FALSE(message.text().isEmpty());
    EXPECT_GE(message.height(), message.heightForWidth(message.width()));
    for (const QPushButton* button : {window.previewExitButton(), window.previewDetectAgainButton()}) {
        EXPECT_FALSE(button->text().isEmpty());
        EXPECT_GE(button->width(), button->sizeHint().width());
        EXPECT_TRUE(window.rect().contains(button->geometry()));
    }
    EXPECT_GE(window.imageView()->height(), 3 * int{kPreviewHeight}) << "the picture is large enough";
}

INSTANTIATE_TEST_SUITE_P(In, PreviewInLanguageTest, testing::ValuesIn(applicationLanguages()),
                         nameOfLanguage);

TEST_F(WindowsOnScreenTest, ThePreviewIsWholeWhileThePanelIsShown) {
    FloatPanel panel(WindowRect{{double(panelPlace().x()), double(kHeight - panelPlace().bottom() - 1)},
                                {double(panelPlace().width()), double(panelPlace().height())}});
    panel.makeKeyAndOrderFront();
    show();
    ASSERT_TRUE(comesTrue([&] { return pixelAt(panelPlace().center()) == 0; }));
    const QRgb ground = window.palette().color(QPalette::Window).rgb() & RGB_MASK;
    const QRect inside = window.geometry();
    for (const QPoint& corner :
         {inside.topLeft(), inside.topRight(), inside.bottomLeft(), inside.bottomRight()})
        EXPECT_TRUE(comesTrue([&] { return pixelAt(corner) == ground; })) << corner.x() << " " << corner.y();
}

TEST_F(WindowsOnScreenTest, PreviewAndDebugWindowStayAboveOthers) {
    DebugWindow debug;
    debug.setTexts("Debug", "Threshold", "Exposure", "Send");
    debug.move(30, 40);
    debug.show();
    show();
    const auto other = openBlueWindow();
    neighbour.raise(other);
    ASSERT_TRUE(comesTrue([&] { return pixelAt({kWidth - 10, 300}) == kBlue; }));
    for (const QWidget* each : {static_cast<QWidget*>(&window), static_cast<QWidget*>(&debug)}) {
        const QRgb ground = each->palette().color(QPalette::Window).rgb() & RGB_MASK;
        EXPECT_TRUE(comesTrue([&] { return pixelAt(each->geometry().topLeft() + QPoint(3, 3)) == ground; }));
    }
}

TEST_F(WindowsOnScreenTest, EachPixelOfThePictureIsASquareOnTheScreen) {
    std::array<std::uint8_t, kPreviewPictureBytes> picture{};
    for (std::size_t at = 0; at < picture.size(); ++at)
        picture[at] = std::uint8_t(at * 7 % 251);
    window.imageView()->setImage(previewImageOf(picture));
    show();
    const PreviewImageView& view = *window.imageView();
    const QRect place = PreviewImageView::placeOfPicture(view.size() * scale);
    const QPoint corner = view.mapToGlobal(QPoint()) * scale + place.topLeft();
    const int factor = place.width() / int{kPreviewWidth};
    EXPECT_GE(factor, 3 * scale);
    for (const QPoint at : {QPoint(0, 0), QPoint(79, 0), QPoint(33, 21), QPoint(0, 59), QPoint(79, 59)}) {
        const auto grey = std::uint32_t{picture[std::size_t(at.y()) * kPreviewWidth + std::size_t(at.x())]};
        for (const QPoint inside : {QPoint(0, 0), QPoint(factor - 1, 0), QPoint(factor - 1, factor - 1)}) {
            const QPoint pixel = corner + at * factor + inside;
            EXPECT_TRUE(comesTrue([&] {
                return neighbour.pixelAt(std::int16_t(pixel.x()), std::int16_t(pixel.y())) == grey * 0x010101;
            })) << at.x()
                << " " << at.y();
        }
    }
}

TEST_F(WindowsOnScreenTest, OneSeesWhichButtonHasTheKeyboard) {
    show();
    const auto look = [&] { return window.previewExitButton()->grab().toImage(); };
    const QImage without = look();
    press(XNeighbour::kTab);
    ASSERT_TRUE(comesTrue([&] { return window.focusWidget() == window.previewExitButton(); }));
    EXPECT_NE(look(), without);
}

TEST_F(WindowsOnScreenTest, ThePreviewThatIsNotOnThePicturesScreenMovesThereAndNoOtherDoes) {
    show();
    window.move(20, 30);
    ASSERT_TRUE(comesTrue([&] { return window.frameGeometry().x() < 40; }));
    const QPoint chosen = window.pos();
    window.screensDidChange();
    QCoreApplication::processEvents();
    EXPECT_EQ(window.pos(), chosen);
    window.move(kWidth - 50, 30);
    ASSERT_TRUE(comesTrue([&] { return window.frameGeometry().right() > kWidth; }));
    window.screensDidChange();
    EXPECT_TRUE(comesTrue([&] { return screen().contains(window.frameGeometry()); }));
    window.orderOut();
    window.screensDidChange();
    EXPECT_FALSE(window.isVisible());
}

// Two monitors side by side; the picture is on the left one.
class PreviewOnTwoScreensTest : public WindowsOnScreenTest {
protected:
    PreviewOnTwoScreensTest() {
        monitor("left", 0, kLeft, "screen");
        monitor("right", kLeft, kWidth - kLeft, "none");
        EXPECT_TRUE(comesTrue([] { return QGuiApplication::screens().size() == 2; }));
        pictureIsOn("left", {0, 0, kLeft, kHeight});
    }
    ~PreviewOnTwoScreensTest() override {
        for (const char* name : {"left", "right"})
            runProgram({"xrandr", "--delmonitor", name});
        EXPECT_TRUE(comesTrue([] { return QGuiApplication::screens().size() == 1; }));
    }
    static void monitor(const std::string& name, int x, int width, const std::string& output) {
        const auto pixels = [](int points) { return std::to_string(points * scale); };
        EXPECT_EQ(
            runProgram({"xrandr", "--setmonitor", name,
                        pixels(width) + "/200x" + pixels(kHeight) + "/200+" + pixels(x) + "+0", output}),
            0);
    }
    void pictureIsOn(const std::string& name, const QRect& place) {
        desk.desktop.name = name;
        desk.desktop.frame = ScreenRect{{0, 0}, {double(place.width()), double(place.height())}};
    }
    bool isOn(const char* name) {
        return comesTrue([&] { return window.screen()->name() == QLatin1String(name); });
    }

    static constexpr int kLeft = 640;
};

TEST_F(PreviewOnTwoScreensTest, ThePreviewThatTheUserHasPutOnAnotherScreenStaysThere) {
    show();
    ASSERT_TRUE(isOn("left"));
    window.move(kLeft + 20, 30);
    ASSERT_TRUE(isOn("right"));
    const QPoint chosen = window.pos();
    window.screensDidChange();
    QCoreApplication::processEvents();
    EXPECT_EQ(window.pos(), chosen);
    window.orderOut();
    window.makeKeyAndOrderFront();
    EXPECT_TRUE(isOn("left")) << "what is shown anew has its place anew";
}

TEST_F(PreviewOnTwoScreensTest, ThePreviewFollowsThePictureAndLeavesAScreenThatGoes) {
    show();
    ASSERT_TRUE(isOn("left"));
    pictureIsOn("right", {kLeft, 0, kWidth - kLeft, kHeight});
    window.screensDidChange();
    ASSERT_TRUE(isOn("right"));
    const auto told = QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, [this] {
        pictureIsOn("left", {0, 0, kLeft, kHeight});
        window.screensDidChange();
    });
    EXPECT_EQ(runProgram({"xrandr", "--delmonitor", "right"}), 0);
    EXPECT_TRUE(isOn("left"));
    EXPECT_TRUE(comesTrue([&] { return window.frameGeometry().x() < kLeft / 2; }));
    QObject::disconnect(told);
}

TEST_F(WindowsOnScreenTest, ComesBackFromTheTaskBarWhenThereIsLightAgain) {
    show();
    window.setWindowState(Qt::WindowMinimized);
    ASSERT_TRUE(comesTrue([&] { return !window.isActiveWindow(); }));
    show();
    EXPECT_FALSE(window.isMinimized());
}

TEST_F(WindowsOnScreenTest, TheAboutPanelComesToTheFrontAgainAndEscapeClosesIt) {
    const auto panel = [] {
        for (QWidget* each : QApplication::topLevelWidgets())
            if (each->isVisible())
                return each;
        return static_cast<QWidget*>(nullptr);
    };
    orderFrontStandardAboutPanel({"Main Board version 1.4\n", "NX9 Driver", {}});
    ASSERT_TRUE(comesTrue([&] { return panel() && panel()->isActiveWindow(); }));
    const QPoint corner = panel()->geometry().topLeft() + QPoint(3, 3);
    const QRgb ground = panel()->palette().color(QPalette::Window).rgb() & RGB_MASK;
    openBlueWindow();
    ASSERT_TRUE(comesTrue([&] { return pixelAt(corner) == kBlue; }));
    orderFrontStandardAboutPanel({"Dongle version 2.3\n\n  CMOS version 1.10\n", "NX9 Driver", {}});
    EXPECT_TRUE(comesTrue([&] { return panel()->isActiveWindow() && pixelAt(corner) == ground; }));
    EXPECT_EQ(panel()->geometry().topLeft(), corner - QPoint(3, 3)) << "it stays where the user has it";
    EXPECT_TRUE(comesTrue([&] { return screen().contains(panel()->frameGeometry()); }));
    press(XNeighbour::kEscape);
    EXPECT_TRUE(comesTrue([&] { return panel() == nullptr; }));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    const char* factor = std::getenv("QT_SCALE_FACTOR"); // NOLINT(concurrency-mt-unsafe): no threads yet
    lightpen::scale = factor ? std::atoi(factor) : 1;    // NOLINT(cert-err34-c): a test's own number
    const lightpen::Xvfb server(std::to_string(lightpen::kWidth * lightpen::scale) + 'x' +
                                std::to_string(lightpen::kHeight * lightpen::scale));
    lightpen::display = server.display();
    const lightpen::WindowManager manager(server.display());
    return lightpen::runTests<QApplication>(argc, argv, lightpen::NoBus(), server);
}
