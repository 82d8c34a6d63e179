// SPDX-License-Identifier: MIT
// The unit as a USB device, seen from the host's side of a real kernel: what it declares, and that each
// report arrives whole and in order, both ways.
#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <variant>

#include "kernel/gadget/GadgetBus.h"
#include "kernel/support/HostNodes.h"
#include "kernel/support/TakenReports.h"
#include "kit/Eventually.h"
#include "linux_desktop/hid/HidDescriptor.h"
#include "linux_desktop/process/SystemClock.h"
#include "unit/CameraUnit.h"

namespace lightpen::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Optional;
using testing::ResultOf;

struct Lengths {
    std::size_t input;
    std::size_t output;
    bool operator==(const Lengths&) const = default;
};

// The lengths that an interface declares; none when it declares anything but one report each way.
std::optional<Lengths> declaredBy(const HostNode& node) {
    const auto parsed = parseHidDescriptor(node.descriptor);
    const auto* descriptor = std::get_if<HidDescriptor>(&parsed);
    if (!descriptor || descriptor->usesReportIDs || descriptor->inputReports.size() != 1 ||
        descriptor->outputReports.size() != 1)
        return std::nullopt;
    return Lengths{descriptor->inputReports[0].length, descriptor->outputReports[0].length};
}

class GadgetUnitTest : public testing::TestWithParam<Lengths> {
protected:
    GadgetUnitTest() { description_.reportLength = GetParam().input; }
    // The unit of the test before may still be leaving.
    void SetUp() override { ASSERT_THAT(waitForNodes(0), IsEmpty()); }

    // The pen interface of a unit that has been plugged in, open; null when it does not come.
    std::unique_ptr<HidrawDevice> openPen() {
        auto device = deviceOf(waitForNodes(4), 3, clock_);
        if (device && !eventually([&] { return device->open(0) == kIOReturnSuccess; }))
            device = nullptr;
        return device;
    }
    // Takes what has come, and says how many there are.
    static std::size_t fetch(IOHIDQueueInterface& queue, std::vector<ReportBytes>& received) {
        IOHIDEventStruct event;
        while (queue.getNextEvent(event, 0, 0) == kIOReturnSuccess) {
            EXPECT_EQ(event.longValueSize, GetParam().input);
            event.longValue.resize(GetParam().input);
            received.push_back(event.longValue);
        }
        return received.size();
    }
    void expectOutputReaches(GadgetDescription::Output way);

    SystemClock clock_;
    UnitDescription description_;
};

TEST_P(GadgetUnitTest, ShowsItsInterfacesWithTheLengthsThatTheyHave) {
    GadgetBus bus(clock_);
    description_.productID = kUnitSecondProductID;
    description_.vendorName = "A maker of pens";
    CameraUnit& unit = bus.add<CameraUnit>(description_, {.outputLength = GetParam().output});
    unit.plug();
    ASSERT_TRUE(bus.settle(unit)) << bus.failure(unit);
    const auto of = [](int number, Lengths lengths) {
        return AllOf(Field(&HostNode::interfaceNumber, number), Field(&HostNode::vendorID, kUnitVendorID),
                     Field(&HostNode::productID, kUnitSecondProductID),
                     Field(&HostNode::manufacturer, "A maker of pens"),
                     ResultOf(declaredBy, Optional(lengths)));
    };
    EXPECT_THAT(waitForNodes(4), ElementsAre(of(0, {8, 8}), of(1, {8, 8}), of(2, {8, 8}), of(3, GetParam())));
    unit.unplug();
    ASSERT_TRUE(bus.settle(unit));
    EXPECT_THAT(waitForNodes(0), IsEmpty());
}

TEST_P(GadgetUnitTest, DeliversEachByteOfItsReportsInOrder) {
    CameraUnit unit(description_);
    GadgetPort port(unit, clock_, {.outputLength = GetParam().output});
    port.setPlugged(true);
    ASSERT_TRUE(port.settle(std::chrono::seconds(10))) << port.failure();
    const auto device = openPen();
    ASSERT_NE(device, nullptr);
    const auto queue = device->allocQueue();
    queue->create(0, 100);
    queue->addElement(1, 0);
    queue->start();
    std::vector<ReportBytes> sent;
    std::vector<ReportBytes> received;
    // The kernel keeps 64 for a reader; no more than a few are under way at any time.
    for (unsigned round = 0; round < 10; ++round) {
        for (unsigned number = 0; number < 4; ++number) {
            sent.push_back(patternOf(round * 4 + number, GetParam().input));
            port.send(sent.back());
        }
        eventually([&] { return fetch(*queue, received) >= sent.size(); });
    }
    EXPECT_EQ(received, sent);
}

// Both ways that output reports can travel.
void GadgetUnitTest::expectOutputReaches(GadgetDescription::Output way) {
    GadgetBus bus(clock_);
    CameraUnit& unit = bus.add<CameraUnit>(description_, {.outputLength = GetParam().output, .output = way});
    const TakenReports taken(unit);
    unit.plug();
    ASSERT_TRUE(bus.settle(unit)) << bus.failure(unit);
    const auto device = openPen();
    ASSERT_NE(device, nullptr);
    std::vector<ReportBytes> sent;
    for (unsigned number = 0; number < 12; ++number) {
        sent.push_back(patternOf(number, GetParam().output));
        EXPECT_EQ(device->setReport(IOHIDReportType::output, 0, sent.back(), 5000), kIOReturnSuccess);
        taken.waitFor(sent.size());
    }
    EXPECT_EQ(taken.reports(), sent);
}

TEST_P(GadgetUnitTest, TakesOutputReportsByInterruptOut) {
    expectOutputReaches(GadgetDescription::Output::interruptOut);
}

TEST_P(GadgetUnitTest, TakesOutputReportsBySetReport) {
    expectOutputReaches(GadgetDescription::Output::setReport);
}

INSTANTIATE_TEST_SUITE_P(ReportLengths, GadgetUnitTest,
                         testing::Values(Lengths{8, 32}, Lengths{32, 32}, Lengths{804, 32}, Lengths{804, 36}),
                         [](const auto& test) {
                             return "In" + std::to_string(test.param.input) + "Out" +
                                    std::to_string(test.param.output);
                         });

} // namespace
} // namespace lightpen::test
