// SPDX-License-Identifier: MIT
#include "calibration/CancelPlace.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QMouseEvent>

#include "calibration/TargetGrid.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

// The size of the pictures of the targets.
constexpr Size kTarget{64, 64};

class CancelPlaceTest : public testing::Test {
protected:
    CancelPlaceTest() { view.resize(1280, 720); }
    void send(QEvent::Type type, QPointF where) {
        QMouseEvent event(type, where, where, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(place, &event);
    }

    const bool application = ensureOffscreenApplication();
    QWidget view;
    CancelPlace* const place = new CancelPlace(view);
};

TEST_F(CancelPlaceTest, IsThereForAsLongAsItHasALabel) {
    view.show();
    EXPECT_FALSE(place->isVisible());
    place->setLabel("Stop it");
    EXPECT_TRUE(place->isVisible());
    place->setLabel("");
    EXPECT_FALSE(place->isVisible());
}

TEST_F(CancelPlaceTest, StandsInTheMiddleBelowEveryTargetWhateverTheSize) {
    view.show();
    place->setLabel("Cancel the calibration");
    for (const QSize size : {QSize(1280, 720), QSize(1920, 1200), QSize(641, 481)}) {
        view.resize(size);
        const QRect at = place->geometry();
        EXPECT_NEAR(at.center().x(), size.width() / 2.0, 1);
        EXPECT_TRUE(view.rect().contains(at)) << size.width();
        for (const std::int64_t targets : {4, 9, 25, 80}) {
            const StepLayout layout{
                TargetGrid::forTotalPoints(targets), {double(size.width()), double(size.height())}, kTarget};
            for (std::int64_t step = 0; step < targets; ++step)
                EXPECT_LT(targetOriginOfStep(layout, step).y, size.height())
                    << "the lower edge counts from the bottom";
            const double lowest = targetOriginOfStep(layout, targets - 1).y;
            EXPECT_GE(lowest, size.height() - at.top()) << targets;
        }
    }
}

TEST_F(CancelPlaceTest, IsAsWideAsItsLabelAsksForAndFlat) {
    for (const char* label : {"No", "取消"}) {
        place->setLabel(label);
        EXPECT_GE(place->width(), 5 * place->height()) << "a short one, too: " << label;
    }
    const int least = place->width();
    place->setLabel("A label that is longer than that of any language");
    EXPECT_GT(place->width(), least + 50);
}

TEST_F(CancelPlaceTest, AClickIsAPressAndAReleaseThere) {
    int clicks = 0;
    QObject::connect(place, &QAbstractButton::clicked, [&] { ++clicks; });
    place->setLabel("Stop it");
    view.show();
    send(QEvent::MouseButtonRelease, {5, 5});
    send(QEvent::MouseButtonPress, {5, 5});
    send(QEvent::MouseButtonRelease, {5, -50});
    EXPECT_EQ(clicks, 0);
    send(QEvent::MouseButtonPress, {5, 5});
    EXPECT_EQ(clicks, 0);
    send(QEvent::MouseButtonRelease, {6, 6});
    EXPECT_EQ(clicks, 1);
    EXPECT_FALSE(place->hasFocus());
}

// What can be read against its ground, on a place that can be told from a white view.
TEST_F(CancelPlaceTest, TheLabelCanBeRead) {
    place->setLabel("MMMMMM");
    QImage picture(place->size(), QImage::Format_RGB32);
    picture.fill(Qt::white);
    place->render(&picture);
    int dark = 0, ground = 0;
    for (int x = 0; x < picture.width(); ++x)
        for (int y = 0; y < picture.height(); ++y) {
            const int light = qGray(picture.pixel(x, y));
            dark += light < 0x60;
            ground += light > 0xC0 && light < 0xE0;
        }
    EXPECT_GT(dark, 50);
    EXPECT_GT(ground, picture.width() * picture.height() / 2);
}

} // namespace
} // namespace lightpen
