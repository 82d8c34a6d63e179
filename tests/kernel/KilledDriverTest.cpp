// SPDX-License-Identifier: MIT
// A driver program that is killed in a stroke can release nothing itself. Its pointer goes with it, and the
// kernel lets go of what that held, for the X server and the windows too.
#include <gtest/gtest.h>

#include <csignal>

#include <QCoreApplication>

#include "emulated/UnitControl.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/PenAtDesk.h"
#include "kernel/support/RuleFile.h"
#include "kit/Eventually.h"
#include "kit/PrivateBus.h"

namespace lightpen {
namespace {

using Seen = CanvasEvent::Kind;

Desk* desk = nullptr;

class KilledDriverTest : public PenAtDesk {
protected:
    KilledDriverTest() : PenAtDesk(*desk) { storeCalibration(unit, kScreen); }

    // The pen holds the left button down, and the hand stays where it is.
    void holdDown() {
        unit.touch({871, 118});
        ASSERT_TRUE(becomes(1));
    }
    void killDriver() {
        ASSERT_EQ(kill(driver->pid(), SIGKILL), 0);
        ASSERT_TRUE(eventually([this] { return !driver->running(); }));
    }
};

TEST_F(KilledDriverTest, LeavesNoButtonDownAndTheNextOneDraws) {
    ASSERT_NO_FATAL_FAILURE(plugIn());
    ASSERT_NO_FATAL_FAILURE(startDriver());
    ASSERT_NO_FATAL_FAILURE(awaitUsable());
    ASSERT_NO_FATAL_FAILURE(holdDown());
    ASSERT_NO_FATAL_FAILURE(killDriver());
    EXPECT_TRUE(becomes(0)) << "the hand is still on the screen";
    unit.lift();
    driverPointers = server.timesAdded("LightPenNX7 pointer");
    ASSERT_NO_FATAL_FAILURE(startDriver());
    ASSERT_NO_FATAL_FAILURE(awaitUsable());
    play(tapsEverywhere());
    expectEverythingArrived(2);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    const lightpen::PrivateBus bus;
    bus.enter();
    const lightpen::PackagedRule rule;
    lightpen::Desk desk;
    desk.prepare();
    lightpen::desk = &desk;
    return RUN_ALL_TESTS();
}
