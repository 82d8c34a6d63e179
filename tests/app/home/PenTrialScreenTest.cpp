// SPDX-License-Identifier: MIT
#include "app/home/PenTrialScreen.h"

#include <gtest/gtest.h>

#include <QCloseEvent>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScreen>

#include "app/home/CalibrationWillBegin.h"
#include "kit/TestPlatform.h"
#include "kit/device/OffscreenApplication.h"
#include "kit/resources/ResourceFiles.h"

namespace lightpen {
namespace {

class PenTrialScreenTest : public testing::Test {
protected:
    PenTrialScreenTest() {
        screen.setTexts(
            [](std::string_view key) { return QString::fromUtf8(key.data(), qsizetype(key.size())); });
        screen.onEnd = [this] { ++ends; };
        screen.begin();
        QCoreApplication::processEvents();
    }
    void press(const QPointF& place, Qt::MouseButton button = Qt::LeftButton) {
        QMouseEvent event(QEvent::MouseButtonPress, place, screen.mapToGlobal(place), button, button,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(&screen, &event);
    }
    // Each cross, missed by so much.
    void touchAll(double miss) {
        for (const ScreenPoint& cross : screen.trial().crosses())
            press({cross.x + miss, cross.y});
    }
    void pressKey(int key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QCoreApplication::sendEvent(screen.focusWidget() ? screen.focusWidget() : &screen, &event);
    }
    QLabel& words() { return *screen.findChild<QLabel*>("penTrialScreenWords"); }
    QPushButton& back() { return *screen.findChild<QPushButton*>("penTrialBack"); }

    const bool application = ensureOffscreenApplication();
    TestPlatform desk;
    PenTrialScreen screen;
    int ends = 0;
};

TEST_F(PenTrialScreenTest, CoversThePicturesScreen) {
    EXPECT_TRUE(screen.isVisible());
    EXPECT_EQ(screen.geometry(), QGuiApplication::primaryScreen()->geometry());
    EXPECT_EQ(screen.trial().picture(), (Size{double(screen.width()), double(screen.height())}));
    EXPECT_FALSE(PenTrialScreen().isVisible());
}

TEST_F(PenTrialScreenTest, SaysWhatToDoAndThenWhatCameOfIt) {
    const QString wanted = "Touch the middle of each cross with the pen. Esc ends it.\n";
    EXPECT_EQ(words().text(), wanted);
    const ScreenPoint first = screen.trial().crosses()[0];
    press({first.x, first.y + 2});
    EXPECT_TRUE(words().text().startsWith(wanted + "Crosses touched: 1 of 9\n"));
    touchAll(3);
    EXPECT_TRUE(words().text().startsWith("Pixels between cross and touch: 3 (median), 3 (worst)\n"));
    EXPECT_TRUE(words().text().contains("The pen is where it should be."));
    EXPECT_EQ(screen.accessibleDescription(), words().text());
    EXPECT_EQ(screen.focusWidget(), &back()) << "Enter ends it then";
    touchAll(40);
    EXPECT_TRUE(words().text().contains("Calibrate again.")) << "every cross can be touched again";
}

TEST_F(PenTrialScreenTest, OnlyALeftButtonIsATouch) {
    const ScreenPoint cross = screen.trial().crosses()[4];
    press({cross.x, cross.y}, Qt::RightButton);
    EXPECT_EQ(screen.trial().outcome(), std::nullopt);
    press({cross.x, cross.y});
    EXPECT_EQ(screen.trial().outcome(), (PenTrial::Outcome{1, 0, 0}));
}

// The pen reaches whatever lies under it.
TEST_F(PenTrialScreenTest, NeitherWordsNorButtonKeepATouchFromItsCross) {
    for (const ScreenPoint& cross : screen.trial().crosses())
        for (const int miss : {-50, 0, 50}) {
            const QWidget* const hit = screen.childAt(int(cross.x) + miss, int(cross.y) + miss);
            EXPECT_TRUE(!hit || hit->testAttribute(Qt::WA_TransparentForMouseEvents)) << cross.x;
        }
}

TEST_F(PenTrialScreenTest, EscapeTheButtonAndTheDesktopEndIt) {
    const auto ended = [this](int times) { return !screen.isVisible() && ends == times; };
    pressKey(Qt::Key_Escape);
    EXPECT_TRUE(ended(1));
    screen.begin();
    touchAll(0);
    pressKey(Qt::Key_Escape); // of the button now
    EXPECT_TRUE(ended(2));
    screen.begin();
    EXPECT_EQ(screen.trial().outcome(), std::nullopt) << "each trial begins anew";
    back().click();
    EXPECT_TRUE(ended(3));
    screen.begin();
    screen.close();
    EXPECT_TRUE(ended(4));
    screen.begin();
    pressKey(Qt::Key_A);
    EXPECT_TRUE(screen.isVisible());
}

TEST_F(PenTrialScreenTest, BeginsAnewInAnotherSizeAndFollowsThePicture) {
    touchAll(0);
    screen.resize(500, 400);
    QCoreApplication::processEvents();
    EXPECT_EQ(screen.trial().outcome(), std::nullopt);
    EXPECT_EQ(screen.trial().picture(), (Size{500, 400}));
    desk.notifications.post({std::string(kScreensDidChange)});
    QCoreApplication::processEvents();
    EXPECT_EQ(screen.geometry(), QGuiApplication::primaryScreen()->geometry());
    screen.close();
    screen.resize(500, 400);
    desk.notifications.post({std::string(kScreensDidChange)});
    EXPECT_FALSE(screen.isVisible()) << "a trial that is over does not come back";
}

TEST_F(PenTrialScreenTest, GivesWayToACalibrationAndToALockedScreen) {
    for (const std::string_view event : {kCalibrationWillBegin, kScreenWasCovered}) {
        screen.begin();
        ends = 0;
        desk.notifications.post({std::string(event)});
        EXPECT_FALSE(screen.isVisible()) << event;
        EXPECT_EQ(ends, 1) << event;
    }
}

TEST_F(PenTrialScreenTest, DoesNotComeUpAgainAboveALockedScreen) {
    screen.resize(500, 400);
    desk.systemUI.covered = true;
    desk.notifications.post({std::string(kScreensDidChange)});
    EXPECT_EQ(screen.size(), QSize(500, 400));
}

class PenTrialScreenInLanguageTest : public PenTrialScreenTest,
                                     public testing::WithParamInterface<Language> {};

TEST_P(PenTrialScreenInLanguageTest, NoTextIsCutOnAProjector) {
    const StringTable table = shippedTable(GetParam().key);
    screen.setTexts([&](std::string_view key) { return QString::fromStdString(textOf(table, key)); });
    screen.resize(1024, 768);
    QCoreApplication::processEvents();
    for (const double miss : {0.0, 40.0}) {
        const ScreenPoint first = screen.trial().crosses()[0];
        press({first.x + miss, first.y});
        EXPECT_LE(words().heightForWidth(words().width()), words().height()) << "with one touch";
    }
    touchAll(40);
    EXPECT_FALSE(words().text().isEmpty());
    EXPECT_LE(words().heightForWidth(words().width()), words().height());
    EXPECT_GE(back().width(), back().sizeHint().width());
}

INSTANTIATE_TEST_SUITE_P(In, PenTrialScreenInLanguageTest, testing::ValuesIn(applicationLanguages()),
                         nameOfLanguage);

} // namespace
} // namespace lightpen
