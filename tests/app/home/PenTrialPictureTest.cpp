// SPDX-License-Identifier: MIT
#include "app/home/PenTrialPicture.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>
#include <QPalette>

#include "app/home/PenTrial.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

class PenTrialPictureTest : public testing::Test {
protected:
    QImage picture() const {
        QImage image(1000, 800, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        paintPenTrial(painter, trial, palette);
        return image;
    }
    // How many pixels of the rectangle have some of the arrows' red, and none of the others' black.
    static int redIn(const QImage& image, const QRect& place) {
        int count = 0;
        for (int y = place.top(); y <= place.bottom(); ++y)
            for (int x = place.left(); x <= place.right(); ++x)
                count += image.pixelColor(x, y).red() > image.pixelColor(x, y).blue() + 60 ? 1 : 0;
        return count;
    }

    const bool application = ensureOffscreenApplication();
    PenTrial trial{{1000, 800}};
    QPalette palette{Qt::black, Qt::white};
};

TEST_F(PenTrialPictureTest, EachCrossIsWhereATouchOfItBelongs) {
    const QImage image = picture();
    for (const ScreenPoint& cross : trial.crosses()) {
        const QPoint middle{int(cross.x), int(cross.y)};
        for (const QPoint arm : {QPoint(12, 0), QPoint(-12, 0), QPoint(0, 12), QPoint(0, -12)})
            EXPECT_LT(image.pixelColor(middle + arm).lightness(), 160);
        EXPECT_EQ(image.pixelColor(middle + QPoint(12, 12)), QColor(Qt::white));
    }
    EXPECT_EQ(redIn(image, image.rect()), 0);
}

TEST_F(PenTrialPictureTest, AnArrowLeadsFromTheCrossTheWayOfTheTouchAndFarther) {
    trial.touch({500, 390}); // ten points above the middle one, and drawn nine times as long
    ASSERT_EQ(trial.enlargement(), 9);
    const QImage image = picture();
    EXPECT_GT(redIn(image, {495, 310, 10, 80}), 80) << "up";
    EXPECT_EQ(redIn(image, {400, 402, 200, 150}), 0) << "not down";
    EXPECT_EQ(redIn(image, {400, 150, 200, 150}), 0) << "and no farther than that";
    EXPECT_GT(redIn(image, {498, 388, 5, 5}), 8) << "the touch itself";
    EXPECT_EQ(redIn(image, {0, 0, 400, 800}), 0) << "no other cross has one";
}

TEST_F(PenTrialPictureTest, ACrossThatWasMetHasADotAndNoArrow) {
    trial.touch({500, 400});
    const QImage image = picture();
    EXPECT_GT(redIn(image, {495, 395, 10, 10}), 4);
    EXPECT_EQ(redIn(image, image.rect()), redIn(image, {494, 394, 13, 13}));
}

TEST_F(PenTrialPictureTest, TheCrossesHaveThePalettesColour) {
    palette.setColor(QPalette::Text, Qt::blue);
    const QColor arm = picture().pixelColor(512, 400);
    EXPECT_GT(arm.blue(), arm.red() + 60);
}

} // namespace
} // namespace lightpen
