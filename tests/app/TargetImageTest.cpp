// SPDX-License-Identifier: MIT
#include "app/TargetImage.h"

#include <cmath>

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

class TargetImageTest : public testing::TestWithParam<TargetImage> {
protected:
    // As it looks on the ground of its session.
    static QImage on(const QPixmap& pixmap, QRgb ground) {
        QImage image(pixmap.size(), QImage::Format_RGB32);
        image.fill(ground);
        QPainter painter(&image);
        painter.drawPixmap(image.rect(), pixmap);
        return image;
    }
    const bool application = ensureOffscreenApplication();
};

// What is calibrated is the middle, whichever way the projector stands.
TEST_P(TargetImageTest, IsSymmetricalAboutItsMiddle) {
    const QImage image = targetImage(GetParam()).toImage();
    EXPECT_EQ(image.size(), QSize(64, 64));
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            EXPECT_NEAR(qAlpha(image.pixel(x, y)), qAlpha(image.pixel(63 - x, y)), 8) << x << " " << y;
            EXPECT_NEAR(qAlpha(image.pixel(x, y)), qAlpha(image.pixel(x, 63 - y)), 8) << x << " " << y;
        }
}

INSTANTIATE_TEST_SUITE_P(Both, TargetImageTest, testing::Values(TargetImage::calib, TargetImage::automatic));

TEST_F(TargetImageTest, CameraSeesOneBrightSpotWithoutHoles) {
    const QImage image = on(targetImage(TargetImage::automatic), 0xFF000000);
    double sumX = 0, sumY = 0, weight = 0;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            const int light = qGray(image.pixel(x, y));
            const double distance = std::hypot(x - 31.5, y - 31.5);
            if (distance < 19 || distance > 21) {
                EXPECT_EQ(light, distance < 19 ? 255 : 0) << x << " " << y;
            }
            sumX += light * (x + 0.5);
            sumY += light * (y + 0.5);
            weight += light;
        }
    EXPECT_NEAR(sumX / weight, 32, 0.01);
    EXPECT_NEAR(sumY / weight, 32, 0.01);
}

TEST_F(TargetImageTest, PersonSeesTheMiddleMarkedOnWhite) {
    const QImage image = on(targetImage(TargetImage::calib), 0xFFFFFFFF);
    EXPECT_LT(qGray(image.pixel(32, 32)), 128) << "the dot";
    EXPECT_EQ(qGray(image.pixel(32, 36)), 255) << "the gap around it";
    EXPECT_LT(qGray(image.pixel(32, 45)), 128) << "the cross-hair";
    EXPECT_LT(qGray(image.pixel(32 + 18, 32 + 18)), 128) << "the ring";
    EXPECT_EQ(qGray(image.pixel(1, 1)), 255);
}

} // namespace
} // namespace lightpen
