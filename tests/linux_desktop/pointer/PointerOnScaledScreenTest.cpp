// SPDX-License-Identifier: MIT
// The same as on a plain screen, with points that are two pixels wide.
#include <tuple>

#include "kit/linux/PointerOnScreen.h"
#include "kit/linux/TestMain.h"

namespace lightpen {
namespace {

using testing::ElementsAre;

using PointerOnScaledScreenTest = PointerOnScreen;

TEST_F(PointerOnScaledScreenTest, TheMainScreenIsMeasuredInPointsAndTheGeometryInPixels) {
    EXPECT_EQ(desktop.mainScreenFrame(), (ScreenRect{{0, 0}, {500, 300}}));
    EXPECT_EQ(geometry.load(), PointerGeometry({0, 0}, 2, {0, 0, 1000, 600}));
}

TEST_F(PointerOnScaledScreenTest, EventsArriveAtTheirPoint) {
    showWindow();
    pointer->post(kLeftMouseDown, {100, 50});
    pointer->post(kLeftMouseUp, {499, 299});
    EXPECT_THAT(buttonEvents(2), ElementsAre("press left 100,50", "release left 499,299"));
}

TEST_F(PointerOnScaledScreenTest, OtherScreensStandAsManyPointsAway) {
    for (const auto& [name, place, output] :
         {std::tuple("*left", "400/106x600/159+0+0", "screen"), {"right", "500/132x450/119+400+100", "none"}})
        ASSERT_EQ(runProgram({"xrandr", "--setmonitor", name, place, output}), 0);
    const std::vector<Screen> both{{"left", {{0, 0}, {200, 300}}}, {"right", {{200, 50}, {250, 225}}}};
    EXPECT_TRUE(comesTrue([&] { return desktop.screens() == both; }));
    defaults.setObject("Main Screen", std::string("right"));
    EXPECT_EQ(desktop.screens(),
              (std::vector<Screen>{{"right", {{0, 0}, {250, 225}}}, {"left", {{-200, -50}, {200, 300}}}}));
    for (const char* name : {"left", "right"})
        EXPECT_EQ(runProgram({"xrandr", "--delmonitor", name}), 0);
    EXPECT_TRUE(comesTrue([&] { return desktop.screens().size() == 1; }));
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    setenv("QT_SCALE_FACTOR", "2", 1);
    return lightpen::runTests<QGuiApplication>(argc, argv, lightpen::Xvfb("1000x600"));
}
