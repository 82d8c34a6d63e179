// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UdevMonitor.h"

#include <gtest/gtest.h>

#include "kit/Eventually.h"
#include "kit/RecordingLog.h"
#include "kit/SocketNode.h"
#include "linux_desktop/umockdev/SimulatedBus.h"

namespace lightpen {
namespace {

using namespace test;
using Strings = std::vector<std::string>;

class UdevMonitorTest : public testing::Test {
protected:
    void start() {
        ASSERT_TRUE(monitor_.start());
        ASSERT_GE(monitor_.eventDescriptor(), 0);
    }
    // Reads until so many things have been told.
    bool hear(std::size_t count) {
        return eventually([&] {
            monitor_.readEvents();
            return told_.size() >= count;
        });
    }

    RecordingLog log_;
    SimulatedBus bus_;
    bool initialised_ = true;
    Strings told_;
    std::vector<HidNode> nodes_;
    UdevMonitor monitor_{{[this](const std::vector<HidNode>& nodes) {
                              told_.push_back("all " + std::to_string(nodes.size()));
                              nodes_ = nodes;
                          },
                          [this](const HidNode& node) {
                              told_.push_back("seen " + node.devnode);
                              nodes_.push_back(node);
                          },
                          [this](const std::string& path) { told_.push_back("node gone " + path); },
                          [this](const std::string& path) { told_.push_back("device gone " + path); }},
                         [this](udev_device*) { return initialised_; }};
};

TEST_F(UdevMonitorTest, AnEmptyBusIsToldOf) {
    start();
    EXPECT_EQ(told_, Strings{"all 0"});
    monitor_.readEvents();
    EXPECT_EQ(told_.size(), 1U);
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(UdevMonitorTest, WhatIsThereAtTheStartIsToldCompletely) {
    const auto paths = bus_.plugIn({});
    initialised_ = false;
    start();
    EXPECT_EQ(told_, Strings{"all 1"});
    const HidNode& node = nodes_.at(0);
    EXPECT_EQ(node.path, paths.node);
    EXPECT_EQ(node.devnode, "/dev/hidraw4");
    EXPECT_EQ(node.interfacePath, paths.interface);
    EXPECT_EQ(node.interfaceNumber, 3);
    EXPECT_EQ(node.descriptor, unitDescriptor(804, 32)) << "zero bytes included";
    EXPECT_FALSE(node.initialised);
    EXPECT_EQ(node.device.path, paths.device);
    EXPECT_EQ(node.device.vendorID, 0x1209);
    EXPECT_EQ(node.device.productID, 0x0001);
    EXPECT_EQ(node.device.vendorName, "Lightpen Works");
    EXPECT_EQ(node.device.productName, "NX7");
}

TEST_F(UdevMonitorTest, ItAsksUdevItselfUnlessToldOtherwise) {
    bus_.plugIn({});
    std::vector<HidNode> nodes;
    UdevMonitor plain({[&](const auto& all) { nodes = all; }, {}, {}, {}});
    ASSERT_TRUE(plain.start());
    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_FALSE(nodes[0].initialised) << "the simulated udev never says that it is done";
}

TEST_F(UdevMonitorTest, PluggingInAndUnpluggingAreTold) {
    start();
    SimulatedBus::Unit unit;
    unit.interfaceNumber = "0a";
    const auto paths = bus_.plugIn(unit);
    ASSERT_TRUE(hear(2));
    EXPECT_EQ(told_, (Strings{"all 0", "seen /dev/hidraw4"}));
    EXPECT_EQ(nodes_.at(0).interfaceNumber, 10);
    EXPECT_EQ(nodes_.at(0).descriptor, unit.descriptor);
    EXPECT_TRUE(nodes_.at(0).initialised);
    bus_.unplug(paths);
    ASSERT_TRUE(hear(4));
    EXPECT_EQ(told_[2], "node gone " + paths.node);
    EXPECT_EQ(told_[3], "device gone " + paths.device);
}

TEST_F(UdevMonitorTest, ChangesAreToldAsSightings) {
    const auto paths = bus_.plugIn({});
    start();
    bus_.event(paths.node, "change");
    ASSERT_TRUE(hear(2));
    EXPECT_EQ(told_, (Strings{"all 1", "seen /dev/hidraw4"}));
}

TEST_F(UdevMonitorTest, NodesOfOtherBusesAndIncompleteDevicesAreNotTold) {
    start();
    const auto bluetooth = bus_.add("hid", "0005:1209:0001.0009", "", {}, {});
    bus_.addNode("hidraw8", bluetooth);
    SimulatedBus::Unit incomplete;
    incomplete.productID.clear();
    bus_.plugIn(incomplete);
    SimulatedBus::Unit strange;
    strange.socket = "1-5";
    strange.vendorID = "12xy";
    strange.hidraw = "hidraw5";
    bus_.plugIn(strange);
    bus_.add("input", "event3", "", {}, {});
    SimulatedBus::Unit last;
    last.socket = "1-6";
    last.vendorName.clear();
    last.descriptor.clear();
    last.hidraw = "hidraw6";
    bus_.plugIn(last);
    ASSERT_TRUE(hear(2));
    EXPECT_EQ(told_, (Strings{"all 0", "seen /dev/hidraw6"}));
    EXPECT_EQ(nodes_.at(0).device.vendorName, "");
    EXPECT_TRUE(nodes_.at(0).descriptor.empty());
}

TEST_F(UdevMonitorTest, BeforeItsStartThereIsNothingToWatch) {
    EXPECT_EQ(monitor_.eventDescriptor(), -1);
}

} // namespace
} // namespace lightpen
