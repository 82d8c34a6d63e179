// SPDX-License-Identifier: MIT
#include "emulated/TargetHand.h"

#include "emulated/UnitOnDesk.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;

class TargetHandTest : public UnitAtScreen {
protected:
    TargetHandTest() { unit.plug(); }
    void showTarget(ScreenPoint place) { UnitAtScreen::showTarget(place, 0xFFFFFF, 0x207020); }
    // The first place that is touched while the hand looks for so long; none when it touches nothing.
    std::optional<ScreenPoint> touchedWithin(Microseconds duration) {
        const Microseconds end = desk.clock.now() + duration;
        while (desk.clock.now() < end) {
            hand.look();
            if (const auto pen = unit.penOnScreen(desk.clock.now()))
                return pen;
            wait(milliseconds(30));
        }
        return std::nullopt;
    }

    const bool application = ensureOffscreenApplication();
    UnitControl control{unit, desk.clock, {640, 360}};
    bool sessionShown = true;
    TargetHand hand{control, desk.clock, std::move(eyes), [this] { return sessionShown; }};
};

TEST_F(TargetHandTest, ATargetIsTouchedWhereItIsAndAgainWhereItGoes) {
    showTarget({511, 40});
    EXPECT_EQ(touchedWithin(milliseconds(1000)), (ScreenPoint{511, 40}));
    desk.runLoop.runFor(milliseconds(500));
    EXPECT_EQ(touchedWithin(milliseconds(1000)), std::nullopt); // it has been touched there
    moveTarget({100, 300});
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
