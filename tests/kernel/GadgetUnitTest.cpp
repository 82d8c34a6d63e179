// SPDX-License-Identifier: MIT
// The unit as a USB device, seen from the host's side of a real kernel: what it declares, and that each
// report arrives whole and in order, both ways.
#include <gtest/gtest.h>

#include <memory>
#include <variant>

#include "emulator/GadgetBus.h"
#include "emulator/GadgetComposition.h"
#include "emulator/GadgetPort.h"
#include "kernel/support/HostNodes.h"
#include "kernel/support/TakenReports.h"
#include "linux_desktop/HidDescriptor.h"
#include "linux_desktop/SystemClock.h"

namespace lightpen::test {
namespace {

struct Lengths {
    std::size_t input;
    std::size_t output;
};

const HidDescriptor* parsed(const HostNode& node, std::variant<HidDescriptor, HidDescriptorError>& storage) {
    storage = parseHidDescriptor(node.descriptor);
    return std::get_if<HidDescriptor>(&storage);
}

class GadgetUnitTest : public testing::TestWithParam<Lengths> {
protected:
    SystemClock clock_;
};

TEST_P(GadgetUnitTest, ShowsItsInterfacesWithTheLengthsThatTheyHave) {
    const auto [input, output] = GetParam();
    GadgetBus bus(clock_);
    UnitDescription description;
    description.reportLength = input;
    description.productID = kUnitSecondProductID;
    description.vendorName = "A maker of pens";
    CameraUnit& unit = bus.addUnit(description, {.outputLength = output});
    EXPECT_TRUE(hostNodes().empty());
    unit.plug();
    ASSERT_TRUE(bus.settle(unit)) << bus.failure(unit);
    const auto nodes = waitForNodes(4);
    ASSERT_EQ(nodes.size(), 4U);
    for (int number = 0; number < 4; ++number) {
        const HostNode& node = nodes[static_cast<std::size_t>(number)];
        EXPECT_EQ(node.interfaceNumber, number);
        EXPECT_EQ(node.vendorID, kUnitVendorID);
        EXPECT_EQ(node.productID, kUnitSecondProductID);
        EXPECT_EQ(node.manufacturer, "A maker of pens");
        std::variant<HidDescriptor, HidDescriptorError> storage;
        const HidDescriptor* descriptor = parsed(node, storage);
        ASSERT_NE(descriptor, nullptr);
        ASSERT_EQ(descriptor->inputReports.size(), 1U);
        ASSERT_EQ(descriptor->outputReports.size(), 1U);
        EXPECT_EQ(descriptor->inputReports[0].length, number == 3 ? input : 8U);
        EXPECT_EQ(descriptor->outputReports[0].length, number == 3 ? output : 8U);
        EXPECT_FALSE(descriptor->usesReportIDs);
    }
    unit.unplug();
    ASSERT_TRUE(bus.settle(unit));
    EXPECT_TRUE(waitForNodes(0).empty());
}

TEST_P(GadgetUnitTest, DeliversEachByteOfItsReportsInOrder) {
    const auto [input, output] = GetParam();
    MachineGadgetFiles files;
    UnitDescription description;
    description.reportLength = input;
    CameraUnit unit(description);
    GadgetPort port(unit, clock_,
                    std::make_unique<GadgetComposition>(files, GadgetPaths{}, description,
                                                        GadgetDescription{.outputLength = output}),
                    files);
    port.setPlugged(true);
    ASSERT_TRUE(port.settle(std::chrono::seconds(10))) << port.failure();
    const auto device = deviceOf(waitForNodes(4), 3, clock_);
    ASSERT_NE(device, nullptr);
    ASSERT_TRUE(waitUntil([&] { return device->open(0) == kIOReturnSuccess; }));
    const auto queue = device->allocQueue();
    queue->create(0, 100);
    queue->addElement(1, 0);
    queue->start();
    constexpr unsigned kReports = 40;
    std::vector<ReportBytes> received;
    IOHIDEventStruct event;
    const auto fetch = [&] {
        while (queue->getNextEvent(event, 0, 0) == kIOReturnSuccess) {
            EXPECT_EQ(event.longValueSize, input);
            event.longValue.resize(input);
            received.push_back(event.longValue);
        }
        return received.size();
    };
    // The kernel keeps 64 for a reader; no more than a few are under way at any time.
    for (unsigned number = 0; number < kReports; ++number) {
        port.send(patternOf(number, input));
        if (number % 4 == 3) {
            ASSERT_TRUE(waitUntil([&] { return fetch() == number + 1; })) << received.size();
        }
    }
    ASSERT_EQ(received.size(), kReports);
    for (unsigned number = 0; number < kReports; ++number)
        EXPECT_EQ(received[number], patternOf(number, input)) << number;
}

// Both ways that output reports can travel.
void expectOutputReaches(GadgetDescription::Output way, Lengths lengths, Clock& clock) {
    GadgetBus bus(clock);
    UnitDescription description;
    description.reportLength = lengths.input;
    CameraUnit& unit = bus.addUnit(description, {.outputLength = lengths.output, .output = way});
    TakenReports taken(unit);
    unit.plug();
    ASSERT_TRUE(bus.settle(unit)) << bus.failure(unit);
    const auto device = deviceOf(waitForNodes(4), 3, clock);
    ASSERT_NE(device, nullptr);
    ASSERT_TRUE(waitUntil([&] { return device->open(0) == kIOReturnSuccess; }));
    constexpr std::size_t kReports = 12;
    for (unsigned number = 0; number < kReports; ++number) {
        ASSERT_EQ(device->setReport(IOHIDReportType::output, 0, patternOf(number, lengths.output), 5000),
                  kIOReturnSuccess);
        ASSERT_EQ(taken.waitFor(number + 1).size(), number + 1);
        EXPECT_EQ(taken.reports().back(), patternOf(number, lengths.output)) << number;
    }
}

TEST_P(GadgetUnitTest, TakesOutputReportsByInterruptOut) {
    expectOutputReaches(GadgetDescription::Output::interruptOut, GetParam(), clock_);
}

TEST_P(GadgetUnitTest, TakesOutputReportsBySetReport) {
    expectOutputReaches(GadgetDescription::Output::setReport, GetParam(), clock_);
}

INSTANTIATE_TEST_SUITE_P(ReportLengths, GadgetUnitTest,
                         testing::Values(Lengths{8, 32}, Lengths{32, 32}, Lengths{804, 32}, Lengths{804, 36}),
                         [](const auto& test) {
                             return "In" + std::to_string(test.param.input) + "Out" +
                                    std::to_string(test.param.output);
                         });

} // namespace
} // namespace lightpen::test
