// SPDX-License-Identifier: MIT
#include "app/home/PenTrialView.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QMouseEvent>

#include "app/home/PenTrialScreen.h"
#include "kit/TestPlatform.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

class PenTrialViewTest : public testing::Test {
protected:
    PenTrialViewTest() {
        view.setTexts(texts(""));
        view.onCalibrate = [this] { ++calibrations; };
        view.resize(600, 400);
        view.show();
        QCoreApplication::processEvents();
    }
    static HomeTexts texts(const std::string& mark) {
        return [mark](std::string_view key) { return QString::fromStdString(mark + std::string(key)); };
    }
    // Our own widgets have no meta-object of Qt's to be found by.
    template <class Widget>
    Widget& part(const char* name) {
        return dynamic_cast<Widget&>(*view.findChild<QWidget*>(name));
    }
    static PenTrialScreen& screen() { return *topWindow<PenTrialScreen>(); }
    // A whole trial from the button on, each cross missed by so much.
    void measure(double miss, std::size_t crosses = PenTrial::kCrosses) {
        part<QPushButton>("penTrialMeasure").click();
        for (std::size_t i = 0; i < crosses; ++i) {
            const QPointF place(screen().trial().crosses()[i].x + miss, screen().trial().crosses()[i].y);
            QMouseEvent event(QEvent::MouseButtonPress, place, place, Qt::LeftButton, Qt::LeftButton,
                              Qt::NoModifier);
            QCoreApplication::sendEvent(&screen(), &event);
        }
        screen().close();
        QCoreApplication::processEvents();
    }

    const bool application = ensureOffscreenApplication();
    TestPlatform desk;
    PenTrialView view;
    int calibrations = 0;
};

TEST_F(PenTrialViewTest, TheTrialIsOnTheScreenAndItsOutcomeStaysHere) {
    EXPECT_FALSE(part<QLabel>("penTrialWords").isVisible());
    part<QPushButton>("penTrialMeasure").click();
    EXPECT_TRUE(screen().isVisible());
    screen().close();
    measure(2);
    EXPECT_FALSE(screen().isVisible());
    EXPECT_TRUE(part<QLabel>("penTrialWords").isVisible());
    EXPECT_TRUE(part<QLabel>("penTrialWords").text().contains("2 (median)"));
    EXPECT_EQ(part<PenCanvas>("penCanvas").trial()->outcome(), (PenTrial::Outcome{9, 2, 2}));
    EXPECT_FALSE(part<QPushButton>("penTrialCalibrate").isVisible());
}

TEST_F(PenTrialViewTest, APenThatIsOffOffersACalibration) {
    measure(40);
    QPushButton& calibrate = part<QPushButton>("penTrialCalibrate");
    ASSERT_TRUE(calibrate.isVisible());
    calibrate.click();
    EXPECT_EQ(calibrations, 1);
    measure(0);
    EXPECT_FALSE(calibrate.isVisible()) << "once it is right";
}

TEST_F(PenTrialViewTest, ATrialWithoutATouchSaysNothing) {
    measure(40);
    measure(40, 0);
    EXPECT_FALSE(part<QLabel>("penTrialWords").isVisible());
    EXPECT_FALSE(part<QPushButton>("penTrialCalibrate").isVisible());
    EXPECT_EQ(part<PenCanvas>("penCanvas").trial(), std::nullopt);
}

TEST_F(PenTrialViewTest, ClearingTakesLinesAndOutcomeAway) {
    measure(40);
    part<QPushButton>("penTrialClear").click();
    EXPECT_EQ(part<PenCanvas>("penCanvas").trial(), std::nullopt);
    EXPECT_FALSE(part<QLabel>("penTrialWords").isVisible());
    EXPECT_FALSE(part<QPushButton>("penTrialCalibrate").isVisible());
}

TEST_F(PenTrialViewTest, TheLanguageChangesAtAnyTime) {
    measure(40);
    view.setTexts(texts("de:"));
    for (const char* name : {"penTrialMeasure", "penTrialClear", "penTrialCalibrate"})
        EXPECT_TRUE(part<QPushButton>(name).text().startsWith("de:")) << name;
    EXPECT_TRUE(part<QLabel>("penTrialWords").text().startsWith("de:"));
    EXPECT_EQ(part<PenCanvas>("penCanvas").accessibleName(), "de:Try the pen");
    EXPECT_EQ(screen().windowTitle(), "de:Try the pen");
}

} // namespace
} // namespace lightpen
