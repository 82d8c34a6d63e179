// SPDX-License-Identifier: MIT
// The application's windows under a Wayland compositor that tiles them.
#include "on_screen/OnSwayTest.h"

#include <sstream>

namespace lightpen {
namespace {

// The ground of the label that ends a session.
const QColor kLabel(0xD6, 0xD6, 0xD6);

class WindowsOnSwayTest : public OnSwayTest {
protected:
    bool shows(QPoint pixel, const QColor& colour) {
        return pictureOf({pixel, QSize(1, 1)}).pixelColor(0, 0) == colour;
    }
    // The driver's own window, once it floats in this size.
    std::optional<SwayWindow> floating(QSize size) {
        std::optional<SwayWindow> found;
        comesTrue([&] {
            found = window([&](const SwayWindow& one) {
                return one.title == "LightPenNX7" && one.floating && one.place.size() == size;
            });
            return found.has_value();
        });
        return found;
    }
    // The driver's windows as they are, and its log.
    std::string told() {
        std::ostringstream text;
        for (const SwayWindow& one : sway->windows(user.program.processId()))
            text << one.title << (one.floating ? " floats, " : " is tiled, ") << one.place.width() << " x "
                 << one.place.height() << '\n';
        return text.str() + user.program.log();
    }
    // How many pixels there are not dark.
    int lightIn(const QRect& pixels) {
        const QImage image = pictureOf(pixels);
        int bright = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                bright += qGray(image.pixel(x, y)) > 20;
        return bright;
    }
};

TEST_F(WindowsOnSwayTest, ASessionOnAnOutputWithoutTheFocusHasItsWaysOut) {
    beginDesktop(2);
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--calibrated", "--no-hand", "--screen", "X11-2"}));
    const auto before = user.program.ask("flash");
    const QPoint label(kProjector.center().x(), kProjector.bottom() - 22);
    const std::function<void()> waysOut[] = {
        [&] { EXPECT_TRUE(comesTrue([&] { return user.menu->click(Labels{"Cancel the calibration"}); })); },
        [&] { user.screen.click(label.x(), label.y()); }, [&] { escape(kProjector); }};
    for (const auto& wayOut : waysOut) {
        user.screen.movePointer(kLaptop.center().x(), kLaptop.center().y());
        ASSERT_TRUE(sway->perform("focus output X11-1"));
        beginSession(kProjector);
        const auto shown = session();
        EXPECT_TRUE(shown && !shown->focused);
        EXPECT_TRUE(comesTrue(
            [&] { return shows(label - QPoint(0, 11), kLabel) && shows(label - QPoint(0, 16), Qt::white); }));
        wayOut();
        ASSERT_TRUE(sessionEnds()) << user.program.log();
    }
    EXPECT_EQ(user.program.ask("flash"), before);
}

// The emulated camera looks at an X server's pixels, and sees nothing of this desktop's.
TEST_F(WindowsOnSwayTest, AnAutomaticSessionWhoseCameraMayNotLookSaysSoAndEndsByAClick) {
    beginDesktop(1);
    user.set("Auto Calibration", "true");
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--calibrated", "--no-hand"}));
    EXPECT_TRUE(logHas("Emulated unit: the screen cannot be looked at: there is no X display\n"));
    const auto before = user.program.ask("flash");
    beginSession(kLaptop);
    ASSERT_TRUE(comesTrue([&] { return shows(kLaptop.bottomLeft(), Qt::black); }));
    user.screen.click(kLaptop.center().x(), kLaptop.center().y());
    EXPECT_TRUE(sessionEnds()) << user.program.log();
    EXPECT_EQ(user.program.ask("flash"), before);
}

// Nobody can tell then where its targets are.
TEST_F(WindowsOnSwayTest, ASessionThatTheUserMakesATileEndsAtItsFirstTouch) {
    beginDesktop(1);
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--calibrated", "--no-hand"}));
    const auto before = user.program.ask("flash");
    beginSession(kLaptop);
    user.screen.movePointer(kLaptop.center().x(), kLaptop.center().y());
    ASSERT_TRUE(comesTrue([&] { return session() && session()->focused; }));
    ASSERT_TRUE(sway->perform("fullscreen disable"));
    ASSERT_TRUE(sessionEnds());
    ASSERT_TRUE(user.program.perform("tap 170 75"));
    EXPECT_TRUE(logHas("Calibration: its window does not show the whole screen; it ends\n"))
        << user.program.log();
    EXPECT_EQ(user.program.ask("flash"), before);
}

// Both windows of the driver float, of a size of their own; those of others keep their places.
TEST_F(WindowsOnSwayTest, TheCheckPanelFloatsAndShowsItsMarker) {
    beginDesktop(1);
    ASSERT_TRUE(comes(user, {"--calibrated", "--no-hand"}));
    ASSERT_TRUE(user.performs({"stray on 705 430", "plug"}));
    const auto panel = floating(QSize(640, 400));
    ASSERT_TRUE(panel) << told();
    // The light is in the middle, which is the lower left corner of the marker.
    const QRect marker(panel->place.topLeft() + QPoint(320, 190), QSize(10, 10));
    EXPECT_TRUE(comesTrue([&] { return lightIn(panel->place) == lightIn(marker) && lightIn(marker) > 10; }))
        << lightIn(panel->place) << " bright pixels, " << lightIn(marker) << " of them of the marker";
}

TEST_F(WindowsOnSwayTest, TheKeyWindowTakesNobodysPlace) {
    beginDesktop(1);
    ASSERT_TRUE(comes(user, {"--calibrated", "--no-hand", "--wireless", "0"}));
    ASSERT_TRUE(comesTrue([&] { return unitWindow().has_value(); }));
    EXPECT_EQ(unitWindow()->place, kLaptop);
    ASSERT_TRUE(user.program.perform("plug"));
    EXPECT_TRUE(floating(QSize(20, 20))) << told();
    EXPECT_EQ(unitWindow()->place, kLaptop);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnSway(argc, argv);
}
