// SPDX-License-Identifier: MIT
// The shipped pictures, as Qt draws them.
#include <algorithm>
#include <cmath>
#include <set>
#include <string>

#include <QFile>
#include <QIcon>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

constexpr QRgb kLightPanel = 0xFFF0F0F0U;
constexpr QRgb kDarkPanel = 0xFF202020U;
constexpr int kStatusSide = 16; // pixels; the smallest that panels show

// The least ratio of lights at which a graphical thing counts as visible (as accessibility rules have it),
// and how many of the 256 pixels of a status icon must reach it.
constexpr double kVisibleRatio = 3;
constexpr int kVisiblePixels = 80;
// Two pixels look different without colour from this difference of grey on, of 255; so must this many of 256.
constexpr int kClearDifference = 96;
constexpr int kDifferentPixels = 80;

QString pathOf(const std::string& name) {
    return QString::fromStdString(LIGHTPEN_RESOURCE_SOURCES "/" + name);
}

QImage ground(int side, QRgb colour) {
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

QImage drawn(const std::string& name, int side, QRgb colour) {
    QImage image = ground(side, colour);
    QPainter painter(&image);
    QSvgRenderer(pathOf(name)).render(&painter, QRectF(0, 0, side, side));
    return image;
}

template <class Predicate>
int count(const QImage& image, Predicate predicate) {
    int found = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            found += predicate(x, y) ? 1 : 0;
    return found;
}

// How bright a colour is for an eye, 0 to 1.
double luminance(QRgb colour) {
    const auto part = [](int value) {
        const double share = value / 255.0;
        return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(qRed(colour)) + 0.7152 * part(qGreen(colour)) + 0.0722 * part(qBlue(colour));
}

double contrast(QRgb one, QRgb other) {
    const double first = luminance(one), second = luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

int visiblePixels(const QImage& image, QRgb panel) {
    return count(image, [&](int x, int y) { return contrast(image.pixel(x, y), panel) >= kVisibleRatio; });
}

int clearlyDifferent(const QImage& one, const QImage& other) {
    return count(one, [&](int x, int y) {
        return std::abs(qGray(one.pixel(x, y)) - qGray(other.pixel(x, y))) >= kClearDifference;
    });
}

// The middle of what differs from the ground, in pixels from the left and the top edge.
QPointF middle(const QImage& image, QRgb colour) {
    double sumX = 0, sumY = 0, weight = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const int light = std::abs(qGray(image.pixel(x, y)) - qGray(colour));
            sumX += light * (x + 0.5);
            sumY += light * (y + 0.5);
            weight += light;
        }
    return {sumX / weight, sumY / weight};
}

struct IconFile {
    std::string name;
    int side; // its own size, in points
};

class EachPictureTest : public testing::TestWithParam<IconFile> {
protected:
    const bool application = ensureOffscreenApplication();
};

TEST_P(EachPictureTest, IsWellFormedAndStandsAlone) {
    QFile file(pathOf(GetParam().name));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QXmlStreamReader reader(&file);
    std::set<std::string> names;
    while (!reader.atEnd()) {
        reader.readNext();
        names.insert(reader.name().toString().toStdString());
        for (const QXmlStreamAttribute& attribute : reader.attributes())
            names.insert(attribute.name().toString().toStdString());
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    EXPECT_TRUE(names.contains("svg"));
    // Text looks different with each font, and what is referred to may not be there.
    for (const char* unwanted : {"text", "image", "href", "script"})
        EXPECT_FALSE(names.contains(unwanted)) << unwanted;
}

TEST_P(EachPictureTest, HasItsSizeAndFitsIntoIt) {
    const QSvgRenderer renderer(pathOf(GetParam().name));
    ASSERT_TRUE(renderer.isValid());
    EXPECT_EQ(renderer.defaultSize(), QSize(GetParam().side, GetParam().side));
    EXPECT_EQ(renderer.viewBoxF(), QRectF(0, 0, GetParam().side, GetParam().side));
    EXPECT_FALSE(renderer.animated());
}

// The way the program takes: through the icon engine, which is a plugin of its own package.
TEST_P(EachPictureTest, IsAnIconWithSomethingOnIt) {
    const QIcon icon(pathOf(GetParam().name));
    for (const int side : {GetParam().side, 22, 48}) {
        const QImage image = icon.pixmap(QSize(side, side), 1).toImage();
        ASSERT_EQ(image.size(), QSize(side, side));
        const int covered = count(image, [&](int x, int y) { return qAlpha(image.pixel(x, y)) > 128; });
        EXPECT_GT(covered, side * side / 10);
        EXPECT_LT(covered, side * side) << "corners are rounded or empty";
    }
}

INSTANTIATE_TEST_SUITE_P(All, EachPictureTest,
                         testing::Values(IconFile{"connect.svg", 16}, IconFile{"disconn.svg", 16},
                                         IconFile{"auto.svg", 64}, IconFile{"calib.svg", 64},
                                         IconFile{"wArc.svg", 10}, IconFile{"Picture 1.svg", 128}),
                         [](const auto& picture) {
                             std::string name = picture.param.name.substr(0, picture.param.name.find('.'));
                             std::erase(name, ' ');
                             return name;
                         });

class IconsTest : public testing::Test {
protected:
    const bool application = ensureOffscreenApplication();
};

TEST_F(IconsTest, StatusItemStandsOutFromLightAndDarkPanels) {
    for (const char* name : {"connect.svg", "disconn.svg"})
        for (const QRgb panel : {kLightPanel, kDarkPanel})
            EXPECT_GE(visiblePixels(drawn(name, kStatusSide, panel), panel), kVisiblePixels)
                << name << " on " << std::hex << panel;
}

TEST_F(IconsTest, StatesOfTheStatusItemDifferWithoutColour) {
    for (const QRgb panel : {kLightPanel, kDarkPanel})
        EXPECT_GE(clearlyDifferent(drawn("connect.svg", kStatusSide, panel),
                                   drawn("disconn.svg", kStatusSide, panel)),
                  kDifferentPixels)
            << "on " << std::hex << panel;
}

// What is touched or found is the middle, and a projector may mirror it.
TEST_F(IconsTest, TargetsHaveTheirWeightInTheMiddle) {
    for (const auto& [name, colour] : {std::pair("auto.svg", 0xFF000000U), {"calib.svg", 0xFFFFFFFFU}}) {
        const QPointF place = middle(drawn(name, 64, colour), colour);
        EXPECT_NEAR(place.x(), 32, 0.1) << name;
        EXPECT_NEAR(place.y(), 32, 0.1) << name;
    }
}

TEST_F(IconsTest, CameraSeesOneBrightSpotWithoutHoles) {
    const QImage image = drawn("auto.svg", 64, 0xFF000000U);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            const double distance = std::hypot(x - 31.5, y - 31.5);
            if (distance < 19 || distance > 21) {
                EXPECT_EQ(qGray(image.pixel(x, y)), distance < 19 ? 255 : 0) << x << " " << y;
            }
        }
}

TEST_F(IconsTest, PersonSeesTheMiddleMarkedOnWhite) {
    const QImage image = drawn("calib.svg", 64, 0xFFFFFFFFU);
    EXPECT_LT(qGray(image.pixel(32, 32)), 128) << "the dot";
    EXPECT_EQ(qGray(image.pixel(32, 36)), 255) << "the gap around it";
    EXPECT_LT(qGray(image.pixel(32, 45)), 128) << "the cross-hair";
    EXPECT_LT(qGray(image.pixel(32 + 18, 32 + 18)), 128) << "the ring";
    EXPECT_EQ(qGray(image.pixel(1, 1)), 255);
}

TEST_F(IconsTest, MarkerIsAnArcOpenAtTheLowerLeftAroundADot) {
    const QImage image = drawn("wArc.svg", 10, 0xFF000000U);
    EXPECT_EQ(qGray(image.pixel(8, 5)), 255) << "right";
    EXPECT_EQ(qGray(image.pixel(5, 1)), 255) << "top";
    EXPECT_EQ(qGray(image.pixel(2, 7)), 0) << "lower left";
    EXPECT_GT(qRed(image.pixel(5, 5)), 2 * qBlue(image.pixel(5, 5))) << "the dot";
}

// The thresholds themselves: nothing at all, and one picture twice, must not pass.
TEST_F(IconsTest, EmptyOrEqualPicturesWouldBeNoticed) {
    EXPECT_EQ(visiblePixels(ground(kStatusSide, kDarkPanel), kDarkPanel), 0);
    const QImage one = drawn("connect.svg", kStatusSide, kDarkPanel);
    EXPECT_EQ(clearlyDifferent(one, one), 0);
    EXPECT_NEAR(contrast(0xFF000000U, 0xFFFFFFFFU), 21, 1e-9);
    EXPECT_NEAR(middle(drawn("disconn.svg", 64, 0xFF000000U), 0xFF000000U).x(), 32, 8);
}

} // namespace
} // namespace lightpen
