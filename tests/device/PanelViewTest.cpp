// SPDX-License-Identifier: MIT
#include "device/PanelView.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QPainter>

#include "device/ChTwoPoint.h"
#include "kit/TemporaryDirectory.h"
#include "kit/device/CheckViewFixture.h"

namespace lightpen {
namespace {

// A panel whose points are two camera units wide, on both axes.
constexpr int kWidth = 705, kHeight = 430;

class PanelViewTest : public CheckViewFixture {
protected:
    // Shows a spot on a panel of a unit with these corners.
    void show(CameraPoint first, CameraPoint last, int x = 200, int y = 100) {
        storeCorners(first, last);
        openShowing();
        drawnFor(x, y);
    }
    // What the panel shows; before there is one, or for a view of its own, another view.
    static QImage drawing(QWidget& view, int scale) {
        QImage picture = blank(scale, Qt::red);
        view.render(&picture);
        return picture;
    }
    static QImage drawing(int scale) { return drawing(*panel()->contentView(), scale); }
    // The marker alone, with its upper left corner there, on black.
    static QImage expected(int scale, QPointF corner) {
        QImage picture = blank(scale, Qt::black);
        QPainter(&picture).fillRect(QRectF(corner, QSizeF(10, 5)), QColor(0, 255, 0));
        return picture;
    }
    static QImage blank(int scale, const QColor& ground) {
        QImage picture(kWidth * scale, kHeight * scale, QImage::Format_RGB32);
        picture.setDevicePixelRatio(scale);
        picture.fill(ground);
        return picture;
    }

    // A marker whose upper half is green.
    std::string makeMarker() {
        desk.bundle.files["wArc.svg"] = folder.file("wArc.svg");
        writeFile(folder.file("wArc.svg"), "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'>"
                                           "<rect width='10' height='5' fill='#00ff00'/></svg>");
        return folder.file("wArc.svg");
    }

    const TemporaryDirectory folder;
    const std::string marker = makeMarker();
    PanelView view{{{360, 300}, {kWidth, kHeight}}};
};

TEST_F(PanelViewTest, ASpotRightOfAndBelowCountsFromTheUpperLeftInBothResolutions) {
    show({100, 90}, {2000, 1500});
    for (const int scale : {1, 2})
        EXPECT_EQ(drawing(scale), expected(scale, {100, 40}));
    EXPECT_EQ(drawnFor(201, 103), (Deeds{"100.50,378.50"}));
    EXPECT_EQ(drawing(2), expected(2, {100.5, 41.5})) << "between points";
    pass();
    drawn();
    EXPECT_EQ(drawing(1), blank(1, Qt::black)) << "a spot that is not there";
}

TEST_F(PanelViewTest, TheOtherWayRoundItCountsFromTheLowerRight) {
    show({2000, 1500}, {100, 90});
    for (const int scale : {1, 2})
        EXPECT_EQ(drawing(scale), expected(scale, {605, 370}));
    pass();
    drawn();
    EXPECT_EQ(drawing(1), blank(1, Qt::black));
}

// A compositor may tile the panel: what the camera sees still fills it.
TEST_F(PanelViewTest, AtAnotherSizeTheMarkerStandsWhereItStoodInProportion) {
    show({100, 90}, {2000, 1500});
    PanelView& shown = *panel()->contentView();
    for (const QSize size : {QSize(1410, 215), QSize(141, 860)}) {
        shown.resize(size);
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::red);
        shown.render(&picture);
        QImage wanted(size, QImage::Format_RGB32);
        wanted.fill(Qt::black);
        const double x = 200.0 * size.width() / 1410, bottom = 100.0 * size.height() / 860;
        QPainter(&wanted).fillRect(QRectF(x, bottom - 10, 10, 5), QColor(0, 255, 0));
        EXPECT_EQ(picture, wanted) << size.width();
    }
    EXPECT_EQ(drawnFor(202, 100), (Deeds{"101.00,380.00"}))
        << "what is logged counts in the panel as it was meant";
}

TEST_F(PanelViewTest, AMarkerThatIsMissingOrDamagedIsNotShown) {
    show({100, 90}, {2000, 1500});
    EXPECT_EQ(drawing(view, 1), expected(1, {100, 40}));
    writeFile(marker, "this is no picture");
    PanelView withDamagedPicture{{{360, 300}, {kWidth, kHeight}}};
    EXPECT_EQ(drawing(withDamagedPicture, 1), blank(1, Qt::black));
    desk.bundle.files.clear();
    PanelView withoutPicture{{{360, 300}, {kWidth, kHeight}}};
    EXPECT_EQ(drawing(withoutPicture, 1), blank(1, Qt::black));
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
    ChTwoPoint keys{{{0, 0}, {20, 20}}};
    keys.keyDown(0);
    EXPECT_TRUE(log.lines().back().ends_with(", 0)"));
    EXPECT_TRUE(send(QEvent::MouseButtonPress));
    keys.keyDown(0);
    EXPECT_TRUE(log.lines().back().ends_with(", 1)"));
    EXPECT_EQ(view.lastLocation, WindowPoint());
}

} // namespace
} // namespace lightpen
