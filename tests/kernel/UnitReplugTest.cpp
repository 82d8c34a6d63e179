// SPDX-License-Identifier: MIT
// A bad contact: a real unit that comes and goes faster than anybody can follow, two hundred times.
#include <gtest/gtest.h>

#include <iterator>
#include <thread>

#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/HostNodes.h"
#include "kernel/support/RuleFile.h"
#include "kit/Eventually.h"
#include "linux_desktop/process/SystemClock.h"
#include "unit/CameraUnit.h"

namespace lightpen {
namespace {

constexpr std::size_t kReplugs = 200;
// How long the contact holds, in turn: mostly too short for the host to find the unit, now and then long
// enough for the driver to begin with it.
constexpr int kContactMs[] = {0, 40, 5, 120, 0, 15, 250, 80};

// The last line of an opening: the unit has answered, and its reports are asked for.
const char* const kInUse = "Event n:1572 result:0";

class UnitReplug : public testing::Test {
protected:
    void replug(std::chrono::milliseconds contact) {
        unit_.unplug();
        ASSERT_TRUE(bus_.settle(unit_)) << bus_.failure(unit_);
        unit_.plug();
        ASSERT_TRUE(bus_.settle(unit_)) << bus_.failure(unit_);
        std::this_thread::sleep_for(contact);
    }
    // The driver and udev have come to the end of all that has happened, and the unit is in use.
    bool inUse() {
        settleUdev();
        return eventually(
            [&] {
                const auto arrived = driver_.count(kArrived);
                return arrived == driver_.count(kRemoved) + 1 && driver_.isBehind(kInUse, kArrived);
            },
            std::chrono::seconds(40));
    }

    SystemClock clock_;
    PackagedRule rule_;
    DriverProcess driver_;
    GadgetBus bus_{clock_};
    CameraUnit& unit_{bus_.add<CameraUnit>({.reportLength = 32})};
};

TEST_F(UnitReplug, TwoHundredQuickOnesLeaveAUnitThatWorksAndNothingElse) {
    ASSERT_TRUE(driver_.waitFor(kStarted)) << driver_.log();
    replug({});
    ASSERT_TRUE(driver_.waitFor(kInUse)) << driver_.log();
    const auto descriptors = driver_.openDescriptors();
    const auto threads = driver_.threads();
    for (std::size_t number = 0; number < kReplugs; ++number)
        replug(std::chrono::milliseconds(kContactMs[number % std::size(kContactMs)]));
    EXPECT_TRUE(inUse()) << driver_.log();
    RecordProperty("arrivals", static_cast<int>(driver_.count(kArrived)));
    EXPECT_TRUE(eventually([&] { return driver_.openDescriptors() == descriptors; }))
        << driver_.openDescriptors() << " instead of " << descriptors;
    EXPECT_TRUE(eventually([&] { return driver_.threads() == threads; }))
        << driver_.threads() << " instead of " << threads;
    EXPECT_EQ(driver_.count(kRefused), 0U) << driver_.log();
    // It can still leave and come back.
    driver_.skipLog();
    unit_.unplug();
    EXPECT_TRUE(driver_.waitFor(kRemoved)) << driver_.log();
    unit_.plug();
    EXPECT_TRUE(driver_.waitFor(kInUse)) << driver_.log();
    EXPECT_EQ(driver_.end(), 0) << driver_.log();
}

} // namespace
} // namespace lightpen
