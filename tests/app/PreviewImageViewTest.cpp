// SPDX-License-Identifier: MIT
#include "app/PreviewImageView.h"

#include <set>

#include <gtest/gtest.h>

#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

constexpr int kWidth = int{kPreviewWidth}, kHeight = int{kPreviewHeight};

// No two neighbours are alike, nor a row and a column, nor a corner and another.
std::uint8_t grey(int x, int y) {
    return static_cast<std::uint8_t>((x * 37 + y * 101 + x * y) % 251 + 2);
}

PreviewImageRef patternImage() {
    std::array<std::uint8_t, kPreviewPictureBytes> picture{};
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            picture[static_cast<std::size_t>(y * kWidth + x)] = grey(x, y);
    return previewImageOf(picture);
}

class PreviewImageViewTest : public testing::Test {
protected:
    QImage shown(const QSize& pixels) {
        view.resize(pixels / view.devicePixelRatioF());
        return view.grab().toImage();
    }
    void expectPattern(const QImage& image, const QPoint& corner, int factor) {
        for (int y = 0; y < kHeight * factor; ++y)
            for (int x = 0; x < kWidth * factor; ++x)
                ASSERT_EQ(image.pixel(corner + QPoint(x, y)),
                          qRgb(grey(x / factor, y / factor), grey(x / factor, y / factor),
                               grey(x / factor, y / factor)))
                    << x << " " << y;
    }

    const bool application = ensureOffscreenApplication();
    PreviewImageView view;
};

TEST_F(PreviewImageViewTest, EachPixelIsASquareOfThatColourAndNothingElse) {
    view.setImage(patternImage());
    // The largest whole factor, in the middle: 10 and 4 pixels are left over with the frame.
    expectPattern(shown({3 * kWidth + 10, 3 * kHeight + 4}), {5, 2}, 3);
    expectPattern(shown({5 * kWidth - 2, 4 * kHeight + 2}), {kWidth / 2 - 1, 1}, 4);
}

TEST_F(PreviewImageViewTest, IsFramedOneWayOrTheOther) {
    view.setImage(patternImage());
    const QImage image = shown({2 * kWidth + 10, 2 * kHeight + 10});
    const QRgb frame = view.palette().color(QPalette::Mid).rgb();
    const QRgb ground = view.palette().color(QPalette::Window).rgb();
    for (const int x : {4, 2 * kWidth + 5})
        EXPECT_EQ(image.pixel(x, 60), frame) << x;
    for (const int y : {4, 2 * kHeight + 5})
        EXPECT_EQ(image.pixel(60, y), frame) << y;
    EXPECT_EQ(image.pixel(3, 60), ground);
    EXPECT_EQ(image.pixel(60, 3), ground);
}

TEST_F(PreviewImageViewTest, ANewPictureTakesTheOldOnesPlaceAndNoneIsBlack) {
    const QSize room{2 * kWidth + 2, 2 * kHeight + 2};
    const QImage never = shown(room);
    EXPECT_EQ(never.pixel(80, 60), qRgb(0, 0, 0));
    view.setImage(patternImage());
    const QImage before = shown(room);
    EXPECT_NE(before, never);
    view.setImage(previewImageOf(std::array<std::uint8_t, kPreviewPictureBytes>{}));
    EXPECT_EQ(shown(room), never);
    view.setImage(patternImage());
    EXPECT_EQ(shown(room), before);
    view.setImage(nullptr);
    EXPECT_EQ(shown(room), never);
}

TEST_F(PreviewImageViewTest, WordsStandWhereThereIsNoPicture) {
    const QSize room{4 * kWidth + 2, 4 * kHeight + 2};
    const QImage black = shown(room);
    view.setWaitingText(QStringLiteral("No picture yet"));
    const QImage words = shown(room);
    EXPECT_NE(words, black);
    EXPECT_EQ(words.pixel(2, 2), qRgb(0, 0, 0));
    view.setImage(patternImage());
    expectPattern(shown(room), {1, 1}, 4);
    view.setImage(nullptr);
    EXPECT_EQ(shown(room), words);
    view.setWaitingText({});
    EXPECT_EQ(shown(room), black);
}

// The view keeps what it shows: the driver may replace its picture at any time.
TEST_F(PreviewImageViewTest, KeepsThePicture) {
    auto image = patternImage();
    const std::weak_ptr<const PreviewImage> kept = image;
    view.setImage(std::move(image));
    EXPECT_FALSE(kept.expired());
    EXPECT_EQ(view.image(), kept.lock());
    view.setImage(nullptr);
    EXPECT_TRUE(kept.expired());
}

TEST_F(PreviewImageViewTest, GrowsByWholeFactorsOnly) {
    std::set<int> widths;
    for (int width = 1; width < 700; ++width) {
        const QRect place = PreviewImageView::placeOfPicture({width, 600});
        EXPECT_EQ(place.width() * kHeight, place.height() * kWidth) << width;
        EXPECT_TRUE(width < kWidth + 2 || QRect(0, 0, width, 600).adjusted(1, 1, -1, -1).contains(place))
            << width;
        widths.insert(place.width());
    }
    EXPECT_EQ(widths, (std::set<int>{80, 160, 240, 320, 400, 480, 560, 640}));
}

TEST_F(PreviewImageViewTest, SizesHoldThePictureAndItsFrame) {
    for (const double ratio : {1.0, 1.25, 1.5, 2.0, 3.0})
        for (int factor = 1; factor < 12; ++factor) {
            const QSize size = PreviewImageView::sizeFor(factor, ratio);
            const QSize pixels = (QSizeF(size) * ratio).toSize();
            EXPECT_EQ(PreviewImageView::placeOfPicture(pixels).width(), factor * kWidth) << ratio;
            EXPECT_LT(pixels.width(), factor * kWidth + 2 + 2 * ratio);
        }
    EXPECT_EQ(view.minimumSizeHint(), QSize(82, 62));
    EXPECT_EQ(view.sizeHint(), QSize(242, 182));
}

TEST_F(PreviewImageViewTest, TakesNoMoreWidthThanThePictureFills) {
    EXPECT_EQ(view.widthThatFills(QSize(2000, 2 * kHeight + 30)), 2 * kWidth + 2);
    EXPECT_EQ(view.widthThatFills(QSize(3 * kWidth + 40, 2000)), 3 * kWidth + 2);
    EXPECT_EQ(view.widthThatFills(QSize(10, 10)), kWidth + 2);
}

// 32 by 32 camera units are one pixel of the picture.
TEST_F(PreviewImageViewTest, AnOutlineLiesWhereTheCameraSeesIt) {
    const QSize room{4 * kWidth + 2, 4 * kHeight + 2};
    const QImage without = shown(room);
    view.setOutline(std::array<CameraPoint, 4>{{{320, 160}, {2240, 160}, {2240, 1600}, {640, 1600}}});
    const QImage with = shown(room);
    const auto isLight = [&](int x, int y) {
        const QColor colour = with.pixelColor(x + 1, y + 1);
        return colour.red() > 200 && colour.green() > 150 && colour.blue() < 80;
    };
    EXPECT_TRUE(isLight(160, 20)) << "above";
    EXPECT_TRUE(isLight(280, 100)) << "on the right";
    EXPECT_TRUE(isLight(200, 200)) << "below";
    EXPECT_TRUE(isLight(60, 110)) << "on the left, which is aslant";
    EXPECT_FALSE(isLight(160, 110)) << "the middle is free";
    EXPECT_FALSE(isLight(40, 190));
    view.setOutline(std::nullopt);
    EXPECT_EQ(shown(room), without);
}

TEST_F(PreviewImageViewTest, AnOutlineStaysInThePicture) {
    const QSize room{3 * kWidth, 2 * kHeight + 2};
    const QImage without = shown(room);
    view.setOutline(std::array<CameraPoint, 4>{{{-500, -90}, {4000, -90}, {4000, 2500}, {-500, 900}}});
    const QImage with = shown(room);
    EXPECT_NE(with, without);
    const QRect place = PreviewImageView::placeOfPicture(room);
    for (int y = 0; y < room.height(); ++y)
        for (int x = 0; x < room.width(); ++x)
            ASSERT_TRUE(place.contains(x, y) || with.pixel(x, y) == without.pixel(x, y)) << x << " " << y;
}

} // namespace
} // namespace lightpen
