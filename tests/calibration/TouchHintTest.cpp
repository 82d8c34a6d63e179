// SPDX-License-Identifier: MIT
#include "calibration/TouchHint.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <QImage>

#include "calibration/TargetGrid.h"
#include "kit/calibration/SessionFixture.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

// The size of the pictures of the targets.
constexpr Size kTarget{64, 64};

class TouchHintTest : public testing::Test {
protected:
    const bool application = ensureOffscreenApplication();
    QWidget window;
    TouchHint* const hint = new TouchHint(window);
};

TEST_F(TouchHintTest, IsThereForAsLongAsItHasAText) {
    window.show();
    EXPECT_FALSE(hint->isVisible());
    hint->setHint("Touch the targets");
    EXPECT_TRUE(hint->isVisible());
    hint->setHint("");
    EXPECT_FALSE(hint->isVisible());
}

TEST_F(TouchHintTest, StandsInTheMiddleAboveEveryTargetWhateverTheSize) {
    window.show();
    hint->setHint("Touch each target with the pen. Escape ends the calibration.");
    for (const QSize size : {QSize(1280, 720), QSize(1920, 1200), QSize(800, 600)}) {
        window.resize(size);
        const QRect at = hint->geometry();
        EXPECT_NEAR(at.center().x(), size.width() / 2.0, 1);
        EXPECT_TRUE(window.rect().contains(at)) << size.width();
        EXPECT_GE(at.width(), hint->sizeHint().width()) << "the whole text";
        for (const std::int64_t targets : {4, 9, 25}) {
            const StepLayout layout{
                TargetGrid::forTotalPoints(targets), {double(size.width()), double(size.height())}, kTarget};
            const double highest = targetOriginOfStep(layout, 0).y + kTarget.height;
            EXPECT_LE(highest, size.height() - at.bottom()) << targets;
        }
    }
}

TEST_F(TouchHintTest, CanBeReadOnAWhiteGround) {
    QPalette white;
    white.setColor(QPalette::Window, Qt::white);
    window.setPalette(white);
    window.resize(400, 100);
    hint->setHint("MMMMMM");
    const QImage picture = window.grab(hint->geometry()).toImage();
    int darkest = 255;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            darkest = std::min(darkest, qGray(picture.pixel(x, y)));
    EXPECT_LT(darkest, 0x60);
}

class TouchHintInSessionTest : public SessionFixture {
protected:
    static TouchHint* hint() {
        for (QObject* child : window()->children())
            if (auto* found = dynamic_cast<TouchHint*>(child))
                return found;
        return nullptr;
    }
};

TEST_F(TouchHintInSessionTest, OnlyASessionByHandHasOne) {
    openUnit();
    center->setTouchHint("Touch it");
    start(Kind::manual);
    ASSERT_TRUE(hint());
    EXPECT_TRUE(hint()->isVisible());
    EXPECT_EQ(hint()->text(), "Touch it");
    pressEscape();
    start(Kind::automatic);
    EXPECT_FALSE(hint()->isVisible()) << "the camera must see nothing beside the target";
    pressEscape();
}

} // namespace
} // namespace lightpen
