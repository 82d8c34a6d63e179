// SPDX-License-Identifier: MIT
// What an application sees of the pointer's events, through the X server and Qt.
#include "kit/linux/PointerOnScreen.h"
#include "kit/linux/TestMain.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

using PointerOnScreenTest = PointerOnScreen;

TEST_F(PointerOnScreenTest, PressDragAndReleaseArrive) {
    showWindow();
    pointer->post(kLeftMouseDown, {100, 50});
    EXPECT_THAT(buttonEvents(1), ElementsAre("press left 100,50"));
    for (std::int16_t x = 101; x <= 300; ++x)
        pointer->post(kLeftMouseDragged, {x, 60});
    EXPECT_TRUE(comesTrue([&] { return window->lastPlace() == QPoint(300, 60); }));
    EXPECT_EQ(window->lastButtons(), Qt::LeftButton);
    pointer->post(kLeftMouseUp, {300, 61});
    EXPECT_THAT(buttonEvents(2), ElementsAre("press left 100,50", "release left 300,61"));
}

TEST_F(PointerOnScreenTest, ARightClickIsAPressAndARelease) {
    showWindow();
    pointer->post(kRightMouseDown, {7, 9});
    pointer->post(kRightMouseUp, {7, 9});
    EXPECT_THAT(buttonEvents(2), ElementsAre("press right 7,9", "release right 7,9"));
}

TEST_F(PointerOnScreenTest, ALongPressLetsGoAndClicksOnTheRight) {
    showWindow();
    for (const std::uint32_t type :
         {kLeftMouseDown, kLeftMouseUp, kRightMouseDown, kRightMouseUp, kLeftMouseUp})
        pointer->post(type, {20, 30});
    pointer->post(kRightMouseDown, {1, 2}); // so that a release too many would have arrived before it
    EXPECT_THAT(buttonEvents(5), ElementsAre("press left 20,30", "release left 20,30", "press right 20,30",
                                             "release right 20,30", "press right 1,2"));
}

TEST_F(PointerOnScreenTest, TheCornersAreReached) {
    showWindow();
    for (const IOGPoint corner : {IOGPoint{0, 0}, IOGPoint{999, 0}, IOGPoint{0, 599}, IOGPoint{999, 599}}) {
        pointer->post(kLeftMouseDown, corner);
        pointer->post(kLeftMouseUp, corner);
    }
    EXPECT_THAT(buttonEvents(8), ElementsAre("press left 0,0", "release left 0,0", "press left 999,0",
                                             "release left 999,0", "press left 0,599", "release left 0,599",
                                             "press left 999,599", "release left 999,599"));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::Xvfb("1000x600"));
}
