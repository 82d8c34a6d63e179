// SPDX-License-Identifier: MIT
#include "app/home/PenCanvas.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QMouseEvent>

#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

class PenCanvasTest : public testing::Test {
protected:
    PenCanvasTest() { canvas.resize(400, 300); }
    void mouse(QEvent::Type type, const QPointF& place, Qt::MouseButton button = Qt::LeftButton) {
        const bool held = type != QEvent::MouseButtonRelease;
        QMouseEvent event(type, place, canvas.mapToGlobal(place),
                          type == QEvent::MouseMove ? Qt::NoButton : button,
                          held ? Qt::MouseButtons(button) : Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&canvas, &event);
    }
    void press(const QPointF& place) { mouse(QEvent::MouseButtonPress, place); }
    void move(const QPointF& place) { mouse(QEvent::MouseMove, place); }
    void release(const QPointF& place) { mouse(QEvent::MouseButtonRelease, place); }
    QColor at(int x, int y) { return canvas.grab().toImage().pixelColor(x, y); }

    const bool application = ensureOffscreenApplication();
    PenCanvas canvas;
};

TEST_F(PenCanvasTest, ThePensWayIsALine) {
    press({50, 60});
    move({150, 60});
    release({150, 60});
    const QColor ink = canvas.palette().color(QPalette::Text);
    const QColor paper = canvas.palette().color(QPalette::Base);
    EXPECT_EQ(at(100, 60), ink);
    EXPECT_EQ(at(100, 70), paper);
    EXPECT_EQ(at(170, 60), paper);
    move({300, 60});
    EXPECT_EQ(at(200, 60), paper) << "a pen that is up draws nothing";
    press({200, 200});
    release({200, 200});
    EXPECT_EQ(at(200, 200), ink) << "a tap is a dot";
    EXPECT_EQ(at(180, 150), paper) << "and a line of its own";
    EXPECT_EQ(canvas.lines().size(), 2u);
}

TEST_F(PenCanvasTest, OtherButtonsDrawNothing) {
    mouse(QEvent::MouseButtonPress, {50, 60}, Qt::RightButton);
    move({150, 60});
    EXPECT_TRUE(canvas.lines().empty());
}

TEST_F(PenCanvasTest, TheInkIsThePalettes) {
    press({50, 60});
    move({150, 60});
    QPalette dark = canvas.palette();
    dark.setColor(QPalette::Base, Qt::black);
    dark.setColor(QPalette::Text, Qt::yellow);
    canvas.setPalette(dark);
    EXPECT_EQ(at(100, 60), QColor(Qt::yellow));
    EXPECT_EQ(at(100, 70), QColor(Qt::black));
}

TEST_F(PenCanvasTest, TheHintStandsOnAnEmptyCanvasAlone) {
    const QImage empty = canvas.grab().toImage();
    canvas.setHint(QStringLiteral("MMMM"));
    const QImage hinted = canvas.grab().toImage();
    EXPECT_NE(hinted, empty);
    canvas.showTrial(PenTrial());
    EXPECT_EQ(canvas.grab().toImage(), empty);
    canvas.clear();
    EXPECT_EQ(canvas.grab().toImage(), hinted);
    EXPECT_EQ(canvas.trial(), std::nullopt);
}

TEST_F(PenCanvasTest, ATrialIsShownAsLargeAsFits) {
    canvas.showTrial(PenTrial({800, 300})); // half as large, with 75 free above and below
    const QColor paper = canvas.palette().color(QPalette::Base);
    EXPECT_NE(at(200, 150), paper) << "the cross in the middle";
    EXPECT_NE(at(40, 90), paper) << "the upper left one";
    EXPECT_EQ(at(40, 30), paper);
}

TEST_F(PenCanvasTest, ClearingTakesTheLinesAway) {
    const QImage empty = canvas.grab().toImage();
    press({50, 60});
    move({150, 60});
    canvas.clear();
    EXPECT_EQ(canvas.grab().toImage(), empty);
    move({150, 90});
    EXPECT_TRUE(canvas.lines().empty()) << "the line ended there";
}

TEST_F(PenCanvasTest, KeepsABoundedNumberOfPlaces) {
    const auto places = [this] {
        std::size_t count = 0;
        for (const QPolygonF& line : canvas.lines())
            count += std::size_t(line.size());
        return count;
    };
    press({1, 1});
    release({1, 1});
    press({50, 60});
    for (std::size_t i = 0; i < 3 * PenCanvas::kMostPlaces; ++i)
        move({double(i % 300), 60});
    EXPECT_LE(places(), PenCanvas::kMostPlaces);
    EXPECT_GE(places(), PenCanvas::kMostPlaces / 2);
    EXPECT_EQ(canvas.lines().size(), 1u) << "the oldest line went first";
    release({9, 9});
    for (std::size_t i = 0; i < PenCanvas::kMostPlaces; ++i) {
        press({5, 5});
        release({5, 5});
    }
    EXPECT_EQ(places(), PenCanvas::kMostPlaces);
    EXPECT_EQ(canvas.lines().size(), PenCanvas::kMostPlaces);
}

} // namespace
} // namespace lightpen
