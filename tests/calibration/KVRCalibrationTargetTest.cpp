// SPDX-License-Identifier: MIT
#include "calibration/KVRCalibrationTarget.h"

#include <limits>

#include <QImage>
#include <QPainter>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

constexpr QRgb kGreen = 0xFF00FF00;
constexpr QRgb kGrey = 0xFF808080;
constexpr QRgb kBlue = 0xFF0000FF;

class KVRCalibrationTargetTest : public testing::Test {
protected:
    // The widget as it is drawn on a grey ground, so many pixels to a point.
    static QImage render(KVRCalibrationTarget& target, int ratio) {
        QImage image(target.size() * ratio, QImage::Format_ARGB32);
        image.setDevicePixelRatio(ratio);
        image.fill(kGrey);
        target.render(&image, {}, {}, QWidget::DrawChildren);
        return image;
    }
    // How many pixels within the rectangle (in pixels) have the colour.
    static int count(const QImage& image, const QRect& within, QRgb color) {
        int found = 0;
        for (int y = within.top(); y <= within.bottom(); ++y)
            for (int x = within.left(); x <= within.right(); ++x)
                found += image.pixel(x, y) == color;
        return found;
    }
    static bool isFilled(const QImage& image, const QRect& rect, QRgb color) {
        return count(image, rect, color) == rect.width() * rect.height();
    }
    static void expectFrame(const QImage& image, int width) {
        const QRect inner = image.rect().adjusted(width, width, -width, -width);
        EXPECT_EQ(count(image, image.rect(), kGreen) - count(image, inner, kGreen),
                  image.width() * image.height() - inner.width() * inner.height());
        const QRect ring = inner.adjusted(1, 1, -1, -1);
        EXPECT_EQ(count(image, inner, kGreen), count(image, ring, kGreen)) << "no wider than that";
    }

    const bool application = ensureOffscreenApplication();
    KVRCalibrationTarget target{{{0, 0}, {20, 20}}, 0};
};

TEST_F(KVRCalibrationTargetTest, BeginsWithoutColourAtItsFrame) {
    EXPECT_EQ(target.frame(), (WindowRect{{0, 0}, {20, 20}}));
    EXPECT_EQ(target.backgroundColor(), std::nullopt);
    EXPECT_EQ(target.bezelStyle(), 0u);
    EXPECT_TRUE(target.isBordered());
    EXPECT_TRUE(target.text().isEmpty());
    EXPECT_EQ(target.focusPolicy(), Qt::NoFocus);
}

// At twice the resolution every edge lies on a pixel's.
TEST_F(KVRCalibrationTargetTest, CrossHairAtTwoPixelsToAPoint) {
    const QImage image = render(target, 2);
    expectFrame(image, 4);
    const QRect inside = image.rect().adjusted(4, 4, -4, -4);
    EXPECT_TRUE(isFilled(image, {18, 9, 4, 22}, kGreen)) << "2 by 11, upright";
    EXPECT_TRUE(isFilled(image, {9, 18, 22, 4}, kGreen)) << "11 by 2, lying";
    EXPECT_EQ(count(image, inside, kGreen), 4 * 22 + 22 * 4 - 4 * 4);
    EXPECT_EQ(count(image, inside, kGrey), 32 * 32 - (4 * 22 + 22 * 4 - 4 * 4)) << "and nothing else";
}

// The bars are 11 long in a square of 20, so that each end covers half a pixel.
TEST_F(KVRCalibrationTargetTest, CrossHairAtOnePixelToAPoint) {
    const QImage image = render(target, 1);
    expectFrame(image, 2);
    EXPECT_TRUE(isFilled(image, {9, 5, 2, 10}, kGreen));
    EXPECT_TRUE(isFilled(image, {5, 9, 10, 2}, kGreen));
    EXPECT_EQ(count(image, image.rect().adjusted(2, 2, -2, -2), kGreen), 2 * 10 + 10 * 2 - 4);
    for (const QPoint end : {QPoint(9, 4), QPoint(10, 4), QPoint(9, 15), QPoint(10, 15), QPoint(4, 9),
                             QPoint(4, 10), QPoint(15, 9), QPoint(15, 10)}) {
        const QRgb pixel = image.pixel(end);
        EXPECT_NEAR(qGreen(pixel), 0xC0, 2) << end.x() << " " << end.y();
        EXPECT_NEAR(qRed(pixel), 0x40, 2) << end.x() << " " << end.y();
    }
    EXPECT_EQ(image.pixel(9, 3), kGrey);
    EXPECT_EQ(image.pixel(8, 5), kGrey);
    EXPECT_EQ(image.pixel(11, 14), kGrey);
}

TEST_F(KVRCalibrationTargetTest, OblongTargetHasBarsOfHalfItsSides) {
    target.setFrameSize({42, 22});
    const QImage image = render(target, 1);
    expectFrame(image, 2);
    EXPECT_TRUE(isFilled(image, {20, 5, 2, 12}, kGreen));
    EXPECT_TRUE(isFilled(image, {10, 10, 22, 2}, kGreen));
    EXPECT_EQ(count(image, image.rect().adjusted(2, 2, -2, -2), kGreen), 2 * 12 + 22 * 2 - 4);
}

TEST_F(KVRCalibrationTargetTest, BackgroundColourFillsWhatIsNotGreen) {
    target.setBackgroundColor(Color{0, 0, 1, 1});
    EXPECT_EQ(target.backgroundColor(), (Color{0, 0, 1, 1}));
    const QImage image = render(target, 2);
    EXPECT_EQ(count(image, image.rect(), kGrey), 0);
    EXPECT_EQ(count(image, image.rect(), kBlue), 32 * 32 - (4 * 22 + 22 * 4 - 4 * 4));
    target.setBackgroundColor(std::nullopt);
    EXPECT_EQ(count(render(target, 2), image.rect(), kBlue), 0);
}

// Everything is shifted by the fraction, half a point to the right and up.
TEST_F(KVRCalibrationTargetTest, FractionOfAPointShiftsTheDrawing) {
    QWidget view;
    view.resize(200, 100);
    target.addToSuperview(view);
    target.setFrameOrigin({30.5, 20.5});
    EXPECT_EQ(target.geometry(), QRect(30, 59, 21, 21));
    EXPECT_EQ(target.frame(), (WindowRect{{30.5, 20.5}, {20, 20}}));
    const QImage image = render(target, 2);
    const QRect covered(1, 1, 40, 40);
    EXPECT_EQ(count(image, image.rect(), kGreen), count(image, covered, kGreen));
    EXPECT_TRUE(isFilled(image, {1, 1, 40, 4}, kGreen));
    EXPECT_TRUE(isFilled(image, {19, 10, 4, 22}, kGreen));
    target.removeFromSuperview();
}

TEST_F(KVRCalibrationTargetTest, FrameCountsUpwardsFromTheSuperviewsLowerEdge) {
    QWidget view;
    view.resize(300, 200);
    target.setFrame({{10, 30}, {40, 20}});
    target.addToSuperview(view);
    EXPECT_EQ(target.geometry(), QRect(10, 150, 40, 20));
    view.resize(300, 400);
    target.placeInSuperview();
    EXPECT_EQ(target.geometry(), QRect(10, 350, 40, 20));
    target.setFrameSize({40, 50});
    EXPECT_EQ(target.geometry(), QRect(10, 320, 40, 50)) << "the lower left corner stays";
    target.removeFromSuperview();
    EXPECT_EQ(target.parentWidget(), nullptr);
    EXPECT_EQ(target.frame(), (WindowRect{{10, 30}, {40, 50}}));
}

TEST_F(KVRCalibrationTargetTest, FrameThatNoWidgetCanHaveIsKeptAndNotShown) {
    target.setFrame({{10, 30}, {40, 20}});
    const QRect before = target.geometry();
    for (const double strange :
         {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN(), 1e300, -4e9}) {
        target.setFrameOrigin({5, strange});
        EXPECT_EQ(target.geometry(), before) << strange;
    }
    EXPECT_EQ(target.frame().origin.y, -4e9);
}

TEST_F(KVRCalibrationTargetTest, SharedFrameFollowsAndOutlivesTheTarget) {
    auto mortal = std::make_unique<KVRCalibrationTarget>(WindowRect{{1, 2}, {3, 4}}, 2);
    const auto frame = mortal->sharedFrame();
    mortal->setFrameSize({30, 40});
    EXPECT_EQ(frame->load(), (WindowRect{{1, 2}, {30, 40}}));
    mortal.reset();
    EXPECT_EQ(frame->load().size, (Size{30, 40}));
}

TEST_F(KVRCalibrationTargetTest, AnyOtherBezelStyleIsTheOrdinaryButtonWithItsImage) {
    target.setFrameSize({40, 40});
    QPixmap red(40, 40);
    red.fill(0xFFFF0000);
    target.setImage(red);
    target.setBordered(false);
    EXPECT_EQ(count(render(target, 1), {0, 0, 40, 40}, 0xFFFF0000), 0) << "style 0 shows no image";
    target.setBezelStyle(2);
    EXPECT_EQ(target.bezelStyle(), 2u);
    EXPECT_FALSE(target.isBordered());
    const QImage image = render(target, 1);
    EXPECT_TRUE(isFilled(image, image.rect(), 0xFFFF0000)) << "at its own size, without a border";
    EXPECT_EQ(count(image, image.rect(), kGreen), 0);
}

TEST_F(KVRCalibrationTargetTest, ImageOfTwoPixelsToAPointKeepsItsSize) {
    QPixmap image(80, 60);
    image.setDevicePixelRatio(2);
    target.setImage(image);
    EXPECT_EQ(target.iconSize(), QSize(40, 30));
}

TEST_F(KVRCalibrationTargetTest, DrawRectDrawsWithinTheGivenRectangle) {
    QImage image(60, 60, QImage::Format_ARGB32);
    image.fill(kGrey);
    {
        QPainter painter(&image);
        target.drawRect(painter, {10, 20, 22, 22});
    }
    EXPECT_TRUE(isFilled(image, {10, 20, 22, 2}, kGreen));
    EXPECT_TRUE(isFilled(image, {20, 25, 2, 12}, kGreen));
    EXPECT_EQ(count(image, image.rect(), kGreen), count(image, {10, 20, 22, 22}, kGreen));
}

} // namespace
} // namespace lightpen
