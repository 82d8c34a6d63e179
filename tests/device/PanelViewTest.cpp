// SPDX-License-Identifier: MIT
#include "device/PanelView.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QPainter>

#include "kit/TemporaryDirectory.h"
#include "kit/device/DriverFixture.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

// A panel whose points are two camera units wide, on both axes.
constexpr int kWidth = 705, kHeight = 430;
const QPoint kMiddle(5, 5); // of the marker

class PanelViewTest : public DriverFixture {
protected:
    PanelViewTest() {
        sharedState.checkViewWidth = kWidth;
        sharedState.checkViewHeight = kHeight;
        sharedState.checkViewPoint = CameraPoint{200, 100};
    }
    void storeCorners(CameraPoint first, CameraPoint last) {
        sharedState.firstRecordPoints = PointPair{first, {1, 2}};
        sharedState.secondRecordPoints = PointPair{{3, 4}, last};
    }
    QImage drawn(int scale) {
        QImage picture = blank(scale, Qt::red);
        view.render(&picture);
        return picture;
    }
    // The marker alone, with its upper left corner there, on black.
    static QImage expected(int scale, QPointF corner) {
        QImage picture = blank(scale, Qt::black);
        QPainter painter(&picture);
        drawMarker(painter, {corner, QSizeF(10, 10)}, {});
        return picture;
    }
    static QImage blank(int scale, const QColor& ground) {
        QImage picture(kWidth * scale, kHeight * scale, QImage::Format_RGB32);
        picture.setDevicePixelRatio(scale);
        picture.fill(ground);
        return picture;
    }

    const bool application = ensureOffscreenApplication();
    PanelView view{{{360, 300}, {kWidth, kHeight}}};
};

TEST_F(PanelViewTest, BothMirrorBranchesInBothResolutions) {
    for (const int scale : {1, 2}) {
        SCOPED_TRACE(scale);
        storeCorners({100, 90}, {2000, 1500});
        EXPECT_EQ(drawn(scale), expected(scale, {100, 40}));
        storeCorners({2000, 1500}, {100, 90});
        EXPECT_EQ(drawn(scale), expected(scale, {605, 370}));
    }
}

TEST_F(PanelViewTest, ASpotBetweenPointsIsDrawnBetweenPoints) {
    storeCorners({100, 90}, {2000, 1500});
    sharedState.checkViewPoint = CameraPoint{201, 103};
    EXPECT_EQ(drawn(2), expected(2, {100.5, 41.5}));
    EXPECT_NE(drawn(2), expected(2, {100, 41}));
}

// Without the marker's own code: white above right, a red middle, open below left, black elsewhere.
TEST_F(PanelViewTest, TheMarkerLooksLikeThis) {
    storeCorners({100, 90}, {2000, 1500});
    const QImage picture = drawn(1);
    const QPoint corner(100, 40);
    EXPECT_EQ(picture.pixelColor(corner + QPoint(8, 4)), QColor(Qt::white));
    EXPECT_EQ(picture.pixelColor(corner + QPoint(4, 1)), QColor(Qt::white));
    EXPECT_GT(picture.pixelColor(corner + QPoint(7, 2)).lightness(), 128);
    EXPECT_EQ(picture.pixelColor(corner + QPoint(2, 7)), QColor(Qt::black));
    EXPECT_GT(picture.pixelColor(corner + kMiddle).red(), picture.pixelColor(corner + kMiddle).blue() + 50);
    for (const QPoint outside : {QPoint(-1, 4), QPoint(10, 4), QPoint(4, -1), QPoint(4, 10)})
        EXPECT_EQ(picture.pixelColor(corner + outside), QColor(Qt::black));
}

TEST_F(PanelViewTest, TheApplicationsPictureGoesBeforeTheDrawnOne) {
    const TemporaryDirectory folder;
    const std::string file = folder.file("wArc.svg");
    writeFile(file, "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'>"
                    "<rect width='10' height='5' fill='#00ff00'/></svg>");
    desk.bundle.files["wArc.svg"] = file;
    PanelView withPicture{{{360, 300}, {kWidth, kHeight}}};
    storeCorners({100, 90}, {2000, 1500});
    for (const int scale : {1, 2}) {
        SCOPED_TRACE(scale);
        QImage wanted = blank(scale, Qt::black);
        QPainter(&wanted).fillRect(QRect(100, 40, 10, 5), QColor(0, 255, 0));
        QImage picture = blank(scale, Qt::red);
        withPicture.render(&picture);
        EXPECT_EQ(picture, wanted);
    }
    writeFile(file, "this is no picture");
    PanelView withDamagedPicture{{{360, 300}, {kWidth, kHeight}}};
    QImage picture = blank(1, Qt::red);
    withDamagedPicture.render(&picture);
    EXPECT_EQ(picture, drawn(1));
}

TEST_F(PanelViewTest, ASpotThatIsNotThereIsNotSeen) {
    sharedState.checkViewPoint = CameraPoint{-100, -100};
    storeCorners({100, 90}, {2000, 1500});
    EXPECT_EQ(drawn(1), blank(1, Qt::black));
    storeCorners({2000, 1500}, {100, 90});
    EXPECT_EQ(drawn(1), blank(1, Qt::black));
}

TEST_F(PanelViewTest, EachDrawingIsLogged) {
    storeCorners({100.125, 90}, {2000, 1500.5});
    sharedState.checkViewPoint = CameraPoint{201, 103};
    log.clear();
    drawn(1);
    EXPECT_THAT(log.takeLines(),
                ElementsAre("Event n:256 sptScreenP1: (100.50,378.50)C1(100.12,90.00)C4(2000.00,1500.50)"));
}

TEST_F(PanelViewTest, OnlyTheDirtyPartIsFilled) {
    QImage picture = blank(1, Qt::red);
    QPainter painter(&picture);
    view.drawRect(painter, {10, 20, 30, 40});
    painter.end();
    EXPECT_EQ(picture.pixelColor(10, 20), QColor(Qt::black));
    EXPECT_EQ(picture.pixelColor(39, 59), QColor(Qt::black));
    EXPECT_EQ(picture.pixelColor(40, 59), QColor(Qt::red));
    EXPECT_EQ(picture.pixelColor(39, 60), QColor(Qt::red));
}

// Where the panel shows a camera point

TEST_F(PanelViewTest, TheCornersTellWhichWayTheCameraIsMounted) {
    const Size panel{720, 450};
    EXPECT_EQ(panelPoint({0, 0}, panel, {1, 1}, {2, 2}), (WindowPoint{0, 450}));
    for (const CameraPoint last :
         {CameraPoint{2, 1}, CameraPoint{1, 2}, CameraPoint{0, 2}, CameraPoint{1, 1}})
        EXPECT_EQ(panelPoint({0, 0}, panel, {1, 1}, last), (WindowPoint{720, 0}));
    const WindowPoint far = panelPoint({1410, 860}, panel, {1, 1}, {2, 2});
    EXPECT_NEAR(far.x, 720, 1e-9);
    EXPECT_NEAR(far.y, 0, 1e-9);
}

// The rest of the view

TEST_F(PanelViewTest, BeginsWithTheseFields) {
    EXPECT_EQ(view.color, QColor(Qt::blue));
    EXPECT_EQ(view.image.size(), QSize(kWidth, kHeight));
    EXPECT_EQ(view.radius, 5);
    EXPECT_EQ(view.geometry(), QRect(360, 300, kWidth, kHeight));
    EXPECT_TRUE(PanelView::canBecomeKeyWindow());
}

TEST_F(PanelViewTest, ACircleGoesIntoTheImage) {
    view.drawCircleAtPoint({100, 30}); // from the bottom
    EXPECT_EQ(view.image.pixelColor(100, 400), QColor(Qt::blue));
    EXPECT_EQ(view.image.pixelColor(96, 400), QColor(Qt::blue));
    EXPECT_EQ(view.image.pixelColor(92, 400).alpha(), 0);
    EXPECT_EQ(view.image.pixelColor(100, 30).alpha(), 0);
    view.radius = 20;
    view.color = Qt::green;
    view.drawCircleAtPoint({100, 30});
    EXPECT_EQ(view.image.pixelColor(85, 400), QColor(Qt::green));
    PanelView empty({{0, 0}, {0, 0}});
    empty.drawCircleAtPoint({1, 1});
    EXPECT_TRUE(empty.image.isNull());
}

TEST_F(PanelViewTest, AClickCountsAsEscapeAndNothingElseDoes) {
    const auto send = [&](QEvent::Type type) {
        QMouseEvent event(type, {3, 4}, {3, 4}, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&view, &event);
        return event.isAccepted();
    };
    EXPECT_TRUE(send(QEvent::MouseMove));
    EXPECT_TRUE(send(QEvent::MouseButtonRelease));
    view.drawLineFromPoint({1, 2}, {3, 4});
    view.keyDown(53);
    EXPECT_EQ(sharedState.keyEscapePressed, 0);
    EXPECT_TRUE(send(QEvent::MouseButtonPress));
    EXPECT_EQ(sharedState.keyEscapePressed, 1);
    EXPECT_EQ(view.lastLocation, WindowPoint());
}

} // namespace
} // namespace lightpen
