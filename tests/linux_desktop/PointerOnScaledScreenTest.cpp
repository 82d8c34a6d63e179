// SPDX-License-Identifier: MIT
// The same as on a plain screen, with points that are two pixels wide.
#include <QGuiApplication>

#include "support/Xvfb.h"
#include "support/linux/PointerOnScreen.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

using PointerOnScaledScreenTest = PointerOnScreen;

TEST_F(PointerOnScaledScreenTest, TheMainScreenIsMeasuredInPoints) {
    EXPECT_EQ(desktop.mainScreenFrame(), (ScreenRect{{0, 0}, {500, 300}}));
}

TEST_F(PointerOnScaledScreenTest, EventsArriveAtTheirPoint) {
    showWindow();
    pointer->post(kLeftMouseDown, {100, 50});
    pointer->post(kLeftMouseUp, {499, 299});
    EXPECT_THAT(buttonEvents(2), ElementsAre("press left 100,50", "release left 499,299"));
}

TEST_F(PointerOnScaledScreenTest, TheGeometryCountsPixels) {
    EXPECT_EQ(geometry.load(), PointerGeometry({0, 0}, 2, {0, 0, 1000, 600}));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const lightpen::Xvfb server("1000x600");
    server.enter();
    setenv("QT_SCALE_FACTOR", "2", 1);
    QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
