// SPDX-License-Identifier: MIT
#include "emulated/CameraPainting.h"

#include <gtest/gtest.h>

#include "kit/device/OffscreenApplication.h"
#include "unit/room/Optics.h"

namespace lightpen {
namespace {

constexpr Size kScreen{400, 250};
constexpr QRgb kRed = 0xFFFF0000;
constexpr QRgb kGreen = 0xFF00C000;

// A red display with a green upper right corner, seen by a camera that is far from straight.
class CameraPaintingTest : public testing::Test {
protected:
    CameraPaintingTest() {
        display.fill(kRed);
        for (int y = 0; y < 100; ++y)
            for (int x = 300; x < 400; ++x)
                display.setPixel(x, y, kGreen);
        const Optics::Corners& at = optics.corners();
        scene.screen = std::array{at.topLeft, at.topRight, at.bottomRight, at.bottomLeft};
    }
    QImage painted(const QImage& shown, bool filterOut = true) {
        QImage image(700, 480, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        paintCameraView(painter, frame, scene, shown, filterOut);
        return image;
    }
    QRgb at(const QImage& image, CameraPoint place) const {
        return image.pixel(drawnAt(place, frame).toPoint());
    }
    QRgb at(const QImage& image, ScreenPoint place) const { return at(image, optics.project(place)); }

    const bool application = ensureOffscreenApplication();
    Optics optics = Optics::strongKeystone(kScreen);
    QImage display{400, 250, QImage::Format_RGB32};
    QRectF frame = cameraFrame({700, 480});
    Scene scene;
};

TEST_F(CameraPaintingTest, TheViewKeepsItsProportions) {
    EXPECT_EQ(cameraFrame({700, 480}), QRectF(30, 0, 640, 480));
    EXPECT_EQ(cameraFrame({640, 1000}), QRectF(0, 260, 640, 480));
    EXPECT_EQ(drawnAt({0, 0}, frame), QPointF(30, 0));
    EXPECT_EQ(drawnAt({2560, 960}, frame), QPointF(670, 240));
    EXPECT_EQ(cameraPlace({350, 120}, frame), (CameraPoint{1280, 480}));
    EXPECT_GT(cameraFrame({0, 0}).width(), 0);
}

TEST_F(CameraPaintingTest, TheDisplayIsSeenThroughTheOptics) {
    const QImage image = painted(display);
    EXPECT_EQ(at(image, ScreenPoint{10, 10}), kRed);
    EXPECT_EQ(at(image, ScreenPoint{290, 95}), kRed);
    EXPECT_EQ(at(image, ScreenPoint{310, 90}), kGreen);
    EXPECT_EQ(at(image, ScreenPoint{392, 8}), kGreen);
    EXPECT_EQ(at(image, ScreenPoint{392, 110}), kRed);
    EXPECT_EQ(at(image, ScreenPoint{10, 240}), kRed);
    EXPECT_EQ(at(image, ScreenPoint{390, 240}), kRed);
}

TEST_F(CameraPaintingTest, AroundTheScreenTheRoomIsDark) {
    const QImage image = painted(display);
    for (const ScreenPoint beside : {ScreenPoint{-10, 120}, {410, 120}, {200, -10}, {200, 262}})
        EXPECT_LT(qGray(at(image, beside)), 40) << beside.x << " " << beside.y;
    EXPECT_EQ(image.pixel(10, 240), 0xFFFFFFFF); // beyond the camera's view nothing is drawn
    EXPECT_EQ(image.pixel(690, 240), 0xFFFFFFFF);
}

TEST_F(CameraPaintingTest, ThroughTheFilterTheDisplayIsFaint) {
    const QRgb faint = at(painted(display, false), ScreenPoint{200, 200});
    EXPECT_GT(qRed(faint), 60);
    EXPECT_LT(qRed(faint), 160);
    EXPECT_EQ(qGreen(faint), 0);
}

TEST_F(CameraPaintingTest, WithoutAPictureTheScreenIsGrey) {
    const QImage image = painted(QImage());
    const QRgb middle = at(image, ScreenPoint{200, 120});
    EXPECT_GT(qGray(middle), 80);
    EXPECT_EQ(middle, at(image, ScreenPoint{390, 8}));
    EXPECT_LT(qGray(at(image, ScreenPoint{-10, 120})), 40);
}

TEST_F(CameraPaintingTest, LightsShineWhereTheyAreInTheirOwnColours) {
    display.fill(Qt::black);
    scene.pen = optics.project({100, 60});
    scene.strayLight = CameraPoint{2400, 200};
    const QImage image = painted(display);
    EXPECT_EQ(at(image, *scene.pen), 0xFFFFFFFF);
    EXPECT_EQ(at(image, *scene.strayLight), 0xFFFFFFFF);
    const QRgb pen = at(image, CameraPoint{scene.pen->x + 40, scene.pen->y});
    const QRgb stray = at(image, CameraPoint{2440, 200});
    EXPECT_GT(qBlue(pen), qRed(pen));
    EXPECT_GT(qRed(stray), qBlue(stray));
    EXPECT_LT(qGray(at(image, CameraPoint{scene.pen->x + 120, scene.pen->y})), 10);
}

TEST_F(CameraPaintingTest, WithoutAScreenThereIsOnlyTheRoom) {
    scene.screen.reset();
    const QImage image = painted(display);
    EXPECT_EQ(at(image, ScreenPoint{200, 120}), at(image, ScreenPoint{-10, 120}));
}

} // namespace
} // namespace lightpen
