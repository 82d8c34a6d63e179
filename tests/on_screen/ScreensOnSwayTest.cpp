// SPDX-License-Identifier: MIT
// Outputs of a Wayland compositor come, leave and change while the application runs.
#include <chrono>
#include <cmath>
#include <vector>

#include "emulated/TargetSeeker.h"
#include "kit/linux/PointerObserver.h"
#include "on_screen/OnSwayTest.h"

namespace lightpen {
namespace {

using testing::SizeIs;

class ScreensOnSwayTest : public OnSwayTest {
protected:
    static Microseconds now() {
        return std::chrono::duration_cast<Microseconds>(std::chrono::steady_clock::now().time_since_epoch());
    }
    static std::string tapAt(ScreenPoint place) {
        return "tap " + std::to_string(place.x) + " " + std::to_string(place.y);
    }
    // A session by somebody who touches each target that comes to rest. Nothing is scaled or turned.
    std::vector<ScreenPoint> calibrate(const QRect& area) {
        std::vector<ScreenPoint> touched;
        TargetSeeker seeker;
        beginSession(area);
        comesTrue([&] {
            const auto place = seeker.look(targetOn(area), now());
            if (place && user.program.perform(tapAt(*place)))
                touched.push_back(*place);
            return touched.size() >= 4 && !session();
        });
        EXPECT_TRUE(comesTrue([&] { return user.program.ask("flash") != "ok empty"; }));
        return touched;
    }
    void expectTapOn(const QRect& area, int x, int y) { expectTap(x, y, area.x() + x, area.y() + y); }
    // The target once it stands still. A person whose picture is on its side tilts the head to see that the
    // label is one: here the picture's sides change places.
    std::optional<ScreenPoint> restingTarget(const QRect& pixels, bool onItsSide) {
        const QTransform tilt = onItsSide ? QTransform(0, 1, 1, 0, 0, 0) : QTransform();
        std::optional<ScreenPoint> resting;
        TargetSeeker seeker;
        comesTrue(
            [&] { return (resting = seeker.look(targetIn(pictureOf(pixels).transformed(tilt)), now())); });
        return resting && onItsSide ? ScreenPoint{resting->y, resting->x} : resting;
    }
    // The only output is changed so; the program then has a picture of that size.
    void change(const std::string& how, const std::string& points) {
        const auto log = user.program.log().size();
        ASSERT_TRUE(sway->perform("output X11-1 " + how));
        ASSERT_TRUE(
            user.program.waitForLog("Screen: the picture is on \"X11-1\", " + points + " points", log))
            << user.program.log();
    }
    // The first target of a session marks a place of the wall, by the output's pixels. A pen that touches
    // that place brings the pointer to the target's point.
    void expectPenOnTarget(QSize pixels) {
        const QRect area = sway->area("X11-1");
        SCOPED_TRACE(testing::Message() << area.width() << " x " << area.height() << " points");
        beginSession(area);
        const auto place = restingTarget({area.topLeft(), pixels}, area.width() < area.height());
        ASSERT_TRUE(place) << user.program.log();
        escape(area);
        ASSERT_TRUE(sessionEnds());
        const double x = place->x * area.width() / pixels.width();
        const double y = place->y * area.height() / pixels.height();
        expectTap(qRound(x), qRound(y), area.x() + 170, area.y() + 75);
        const auto landed = pointer.state();
        EXPECT_LE(std::hypot(landed.x - area.x() - 170, landed.y - area.y() - 75), 2);
    }

    PointerObserver pointer{applicationStage->server.display()};
};

// The laptop is logged in, the program starts with it, then the projector is plugged in.
TEST_F(ScreensOnSwayTest, AProjectorThatComesLateIsThePicturesScreen) {
    beginDesktop(1);
    user.set("Main Screen", "X11-2");
    ASSERT_TRUE(comesWithUnit(user));
    EXPECT_TRUE(logHas("Screen: there is no screen called \"X11-2\" now (there are: X11-1)"));
    // In a session it changes nothing until that is over.
    beginSession(kLaptop);
    ASSERT_TRUE(sway->addOutput());
    ASSERT_TRUE(logHas("Screen: the picture is on \"X11-2\", 1024 x 768 points"));
    ASSERT_TRUE(session());
    EXPECT_EQ(session()->place, kLaptop);
    escape(kLaptop);
    ASSERT_TRUE(sessionEnds()) << user.program.log();
    const auto touched = calibrate(kProjector);
    ASSERT_THAT(touched, SizeIs(4)) << user.program.log();
    const ScreenPoint targets[] = {{170, 75}, {854, 75}, {170, 693}, {854, 693}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(touched[i].x, targets[i].x, 1) << i;
        EXPECT_NEAR(touched[i].y, targets[i].y, 1) << i;
    }
    expectTapOn(kProjector, 302, 77);
    expectTapOn(kProjector, 41, 755);
    ASSERT_TRUE(sway->removeOutput("X11-2"));
    ASSERT_TRUE(logHas("Screen: the picture is on \"X11-1\", 1280 x 800 points"));
    expectTapOn(kLaptop, 702, 151);
}

// The wall, which the camera looks at, is what an output's window shows: its pixels, however they are scaled
// or turned.
TEST_F(ScreensOnSwayTest, ThePenIsAsExactAfterEachChangeAsBefore) {
    beginDesktop(1);
    ASSERT_TRUE(comesWithUnit(user));
    ASSERT_THAT(calibrate(kLaptop), SizeIs(4)) << user.program.log();
    expectPenOnTarget({1280, 800});
    change("mode 1024x600", "1024 x 600");
    expectPenOnTarget({1024, 600});
    change("mode 1280x800 scale 2", "640 x 400");
    expectPenOnTarget({1280, 800});
    // Also when the unit tells its points anew.
    ASSERT_TRUE(user.program.perform("unplug"));
    ASSERT_TRUE(user.showsMenu({"Exit"}));
    ASSERT_TRUE(user.program.perform("plug"));
    ASSERT_TRUE(user.showsMenu(fullMenu("English")));
    change("scale 1.5", "853 x 533");
    expectPenOnTarget({1280, 800});
    change("scale 1 transform 90", "800 x 1280");
    expectPenOnTarget({1280, 800});
    change("transform 270", "800 x 1280");
    expectPenOnTarget({1280, 800});
    change("transform 180", "1280 x 800");
    expectPenOnTarget({1280, 800});
}

TEST_F(ScreensOnSwayTest, ASessionOnAnOutputThatLeavesKeepsWhatTheFlashHad) {
    beginDesktop(2);
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--calibrated", "--no-hand", "--screen", "X11-2"}));
    const auto before = user.program.ask("flash");
    beginSession(kProjector);
    ASSERT_TRUE(user.program.perform("tap 170 75"));
    ASSERT_TRUE(user.program.perform("wait"));
    ASSERT_TRUE(sway->removeOutput("X11-2"));
    EXPECT_TRUE(sessionEnds()) << user.program.log();
    // "Its screen has left", or the compositor has given the window another size before it tells.
    EXPECT_TRUE(logHas("; it ends\n"));
    EXPECT_EQ(user.program.ask("flash"), before);
}

TEST_F(ScreensOnSwayTest, AStrokeEndsWithItsReleaseWhenItsOutputChangesOrLeaves) {
    beginDesktop(2);
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--calibrated", "--no-hand", "--screen", "X11-2"}));
    const std::function<bool()> changes[] = {[&] { return sway->perform("output X11-2 mode 800x600"); },
                                             [&] { return sway->removeOutput("X11-2"); }};
    for (const auto& change : changes) {
        ASSERT_TRUE(isReady());
        ASSERT_TRUE(
            user.program.perform("drag 300 400 740 410 300 420 740 430 300 440 740 450 300 460 740 470"));
        ASSERT_TRUE(comesTrue([&] { return pointer.state().left; })) << user.program.log();
        ASSERT_TRUE(change());
        ASSERT_TRUE(comesTrue([&] { return !pointer.state().left; }));
        // Not because the pen was lifted: it goes on, and the pointer with it.
        const PointerState released = pointer.state();
        EXPECT_TRUE(comesTrue([&] { return pointer.state() != released; }));
        EXPECT_FALSE(pointer.state().left);
        ASSERT_TRUE(comesTrue([&] { return user.program.perform("wait"); }));
    }
}

TEST_F(ScreensOnSwayTest, AllOutputsMayLeaveAndOthersComeWithoutAUnit) {
    beginDesktop(1);
    ASSERT_TRUE(comes(user, {"--no-hand"}));
    // This compositor does not outlive a window that comes while there is no output.
    ASSERT_TRUE(comesTrue([&] { return unitWindow().has_value(); }));
    ASSERT_TRUE(sway->removeOutput("X11-1"));
    ASSERT_TRUE(sway->addOutput());
    ASSERT_TRUE(logHas("Screen: the picture is on \"X11-2\", 1024 x 768 points"));
    ASSERT_TRUE(user.performs({"calibrate", "plug"}));
    ASSERT_TRUE(user.showsMenu(fullMenu("English")));
    expectTapOn(kProjector, 901, 77);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnSway(argc, argv);
}
