// SPDX-License-Identifier: MIT
#include "emulated/TargetHand.h"

#include <gtest/gtest.h>

#include "kit/TestPlatform.h"
#include "kit/Xvfb.h"
#include "kit/device/OffscreenApplication.h"
#include "kit/linux/ScreenPainter.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;

constexpr int kTargetSize = 20;

// A target on a real screen, in virtual time.
class TargetHandTest : public testing::Test {
protected:
    // News of changes come in real time, which virtual time does not wait for: here every look counts.
    static void SetUpTestSuite() {
        server = std::make_unique<Xvfb>("640x360", std::vector<std::string>{"-extension", "DAMAGE"});
    }
    static void TearDownTestSuite() { server.reset(); }

    TargetHandTest() {
        bus.runOnMainLoop();
        unit.plug();
    }
    xcb_window_t showTarget(ScreenPoint place) {
        const xcb_window_t ground = painter.show({0, 0, 640, 360}, 0xFFFFFF);
        return painter.show({static_cast<int>(place.x) - kTargetSize / 2,
                             static_cast<int>(place.y) - kTargetSize / 2, kTargetSize, kTargetSize},
                            0x207020, ground);
    }
    // The first place that is touched while the hand looks for so long; none when it touches nothing.
    std::optional<ScreenPoint> touchedWithin(Microseconds duration) {
        const Microseconds end = desk.clock.now() + duration;
        while (desk.clock.now() < end) {
            hand.look();
            if (const auto pen = unit.penOnScreen(desk.clock.now()))
                return pen;
            desk.runLoop.runFor(milliseconds(30));
        }
        return std::nullopt;
    }

    static std::unique_ptr<Xvfb> server;
    const bool application = ensureOffscreenApplication();
    TestPlatform desk;
    EmulatedBus bus{desk.registry, desk.runLoop, desk.clock};
    CameraUnit& unit = bus.add<CameraUnit>();
    UnitControl control{unit, desk.clock, {640, 360}};
    ScreenPainter painter{server->display()};
    std::string problem;
    bool sessionShown = true;
    TargetHand hand{control, desk.clock, ScreenCapture::create(server->display().c_str(), problem),
                    [this] { return sessionShown; }};
};
std::unique_ptr<Xvfb> TargetHandTest::server;

TEST_F(TargetHandTest, ATargetIsTouchedWhereItIsAndAgainWhereItGoes) {
    const xcb_window_t target = showTarget({511, 40});
    EXPECT_EQ(touchedWithin(milliseconds(1000)), (ScreenPoint{511, 40}));
    desk.runLoop.runFor(milliseconds(500));
    EXPECT_EQ(touchedWithin(milliseconds(1000)), std::nullopt); // it has been touched there
    painter.move(target, 100 - kTargetSize / 2, 300 - kTargetSize / 2);
    EXPECT_EQ(touchedWithin(milliseconds(1000)), (ScreenPoint{100, 300}));
}

TEST_F(TargetHandTest, WithoutASessionNothingIsTouched) {
    sessionShown = false;
    showTarget({511, 40});
    EXPECT_EQ(touchedWithin(milliseconds(5000)), std::nullopt);
    sessionShown = true;
    EXPECT_EQ(touchedWithin(milliseconds(240)), std::nullopt); // a person looks before touching
    EXPECT_EQ(touchedWithin(milliseconds(100)), (ScreenPoint{511, 40}));
}

TEST_F(TargetHandTest, ANewSessionMayBeginWhereTheLastOneEnded) {
    showTarget({511, 40});
    EXPECT_EQ(touchedWithin(milliseconds(1000)), (ScreenPoint{511, 40}));
    desk.runLoop.runFor(milliseconds(500));
    sessionShown = false;
    EXPECT_EQ(touchedWithin(milliseconds(100)), std::nullopt);
    sessionShown = true;
    EXPECT_EQ(touchedWithin(milliseconds(1000)), (ScreenPoint{511, 40}));
}

TEST_F(TargetHandTest, WithoutEyesNothingIsTouched) {
    TargetHand blind(control, desk.clock, nullptr, [] { return true; });
    showTarget({511, 40});
    blind.allow(true);
    for (int i = 0; i < 40; ++i) {
        blind.look();
        desk.runLoop.runFor(milliseconds(30));
    }
    EXPECT_EQ(unit.toPlay(), Microseconds::zero());
    EXPECT_FALSE(unit.penOnScreen(desk.clock.now()));
}

TEST_F(TargetHandTest, ItIsAllowedAndForbidden) {
    EXPECT_FALSE(hand.allowed());
    hand.allow(true);
    EXPECT_TRUE(hand.allowed());
    hand.allow(false);
    EXPECT_FALSE(hand.allowed());
}

TEST_F(TargetHandTest, WithoutACalibrationWindowThereIsNoSession) {
    EXPECT_FALSE(sessionByHandShown(unit));
}

} // namespace
} // namespace lightpen
