// SPDX-License-Identifier: MIT
// Which of a real bus's nodes the driver takes: the pen's of a camera unit, whatever its number is this time
// and whatever else is plugged in.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/DriverLines.h"
#include "kernel/support/DriverProcess.h"
#include "kernel/support/HostNodes.h"
#include "kernel/support/RuleFile.h"
#include "kernel/support/UhidDevice.h"
#include "kit/Eventually.h"
#include "linux_desktop/process/SystemClock.h"
#include "unit/CameraUnit.h"

namespace lightpen {
namespace {

using test::penNode;
using test::waitForNodes;

constexpr std::int32_t kOtherProductID = 0x0099;

class UnitNodes : public testing::Test {
protected:
    // Plugs it in and waits until there are so many nodes of USB devices.
    void plug(CameraUnit& unit, std::size_t nodes) {
        unit.plug();
        ASSERT_TRUE(bus_->settle(unit)) << bus_->failure(unit);
        ASSERT_EQ(waitForNodes(nodes).size(), nodes);
        settleUdev();
    }
    void unplug(CameraUnit& unit) {
        unit.unplug();
        ASSERT_TRUE(bus_->settle(unit)) << bus_->failure(unit);
        ASSERT_TRUE(waitForNodes(0).empty());
        settleUdev();
    }
    // Those before are gone for good.
    CameraUnit& addUnit(const UnitDescription& unit, const GadgetDescription& gadget = {}) {
        bus_.reset();
        bus_ = std::make_unique<GadgetBus>(clock_);
        return bus_->add<CameraUnit>(unit, gadget);
    }
    void SetUp() override { ASSERT_TRUE(driver_.waitFor(kStarted)) << driver_.log(); }
    void TearDown() override {
        EXPECT_TRUE(driver_.running()) << driver_.log();
        EXPECT_EQ(driver_.end(), 0) << driver_.log();
    }

    SystemClock clock_;
    PackagedRule rule_;
    DriverProcess driver_;
    std::unique_ptr<GadgetBus> bus_;
};

TEST_F(UnitNodes, AUnitIsFoundAgainUnderOtherNumbers) {
    CameraUnit& unit = addUnit({.reportLength = 32});
    plug(unit, 4);
    const std::string before = penNode();
    ASSERT_TRUE(driver_.waitFor(kFlashRead)) << driver_.log();
    unplug(unit);
    ASSERT_TRUE(driver_.waitFor(kRemoved)) << driver_.log();
    // Others take the numbers that have become free. That they call themselves camera units makes them none.
    std::vector<std::unique_ptr<UhidDevice>> strangers;
    while (strangers.size() < 5)
        strangers.push_back(std::make_unique<UhidDevice>(kUnitVendorID, kUnitFirstProductID));
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(before); }));
    settleUdev();
    plug(unit, 4);
    EXPECT_NE(penNode(), before);
    EXPECT_TRUE(driver_.waitFor(kFlashRead)) << driver_.log();
    EXPECT_EQ(driver_.count(kArrived), 2U) << driver_.log();
    strangers.clear();
    settleUdev();
    EXPECT_EQ(driver_.count(kRemoved), 1U) << driver_.log();
    unplug(unit);
    EXPECT_TRUE(driver_.waitFor(kRemoved)) << driver_.log();
}

// The kernel has four HID functions at most, so one device is there after the other.
TEST_F(UnitNodes, AnInterface3OfAnotherProductIsLeftAlone) {
    CameraUnit& other = addUnit({.reportLength = 32, .productID = kOtherProductID});
    std::atomic<unsigned> taken = 0;
    other.onOutput([&](Microseconds, std::span<const std::uint8_t>) { ++taken; });
    plug(other, 4);
    ASSERT_FALSE(penNode(kOtherProductID).empty());
    unplug(other);
    EXPECT_EQ(taken, 0U);
    CameraUnit& unit = addUnit({.reportLength = 804, .productID = kUnitSecondProductID});
    plug(unit, 4);
    // Events come in order: what the other was taken for would have been told before.
    EXPECT_TRUE(driver_.waitFor(kFlashRead)) << driver_.log();
    EXPECT_EQ(driver_.count(kArrived), 1U) << driver_.log();
    EXPECT_EQ(driver_.count(kRemoved), 0U) << driver_.log();
}

// Its nodes are there and initialised, but none is the pen's, so it never becomes ready: it is as good as
// absent, and says nothing to the user.
TEST_F(UnitNodes, AUnitWithoutThePensInterfaceIsAbsentAndHoldsNothingUp) {
    CameraUnit& headless = addUnit({.reportLength = 32}, {.interfaces = 3});
    plug(headless, 3);
    ASSERT_TRUE(penNode().empty());
    unplug(headless);
    CameraUnit& unit = addUnit({.reportLength = 32});
    plug(unit, 4);
    EXPECT_TRUE(driver_.waitFor(kFlashRead)) << driver_.log();
    EXPECT_EQ(driver_.count(kArrived), 1U) << driver_.log();
    EXPECT_EQ(driver_.count("HID: "), 0U) << driver_.log();
    EXPECT_EQ(driver_.count(kRemoved), 0U) << driver_.log();
}

TEST_F(UnitNodes, AUnitThatReenumeratesByItselfIsTakenAgain) {
    CameraUnit& unit = addUnit({.reportLength = 32});
    plug(unit, 4);
    ASSERT_TRUE(driver_.waitFor(kFlashRead)) << driver_.log();
    // It lets go of the bus and is back at once: nobody has pulled anything.
    for (std::size_t round = 1; round <= 2; ++round) {
        unit.unplug();
        unit.plug();
        ASSERT_TRUE(bus_->settle(unit)) << bus_->failure(unit);
        EXPECT_TRUE(driver_.waitFor(kRemoved)) << driver_.log();
        EXPECT_TRUE(driver_.waitFor(kFlashRead)) << driver_.log();
        EXPECT_EQ(driver_.count(kArrived), 1 + round) << driver_.log();
    }
}

} // namespace
} // namespace lightpen
