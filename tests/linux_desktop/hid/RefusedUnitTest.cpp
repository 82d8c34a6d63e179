// SPDX-License-Identifier: MIT
// Units that the user may not open, and units that only he calls so.
#include "linux_desktop/hid/UnitPublisher.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "kit/CameraUnits.h"
#include "kit/RecordingLog.h"
#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

using namespace test;

class RefusedUnitTest : public testing::Test {
protected:
    // A publisher that finds each node as openError says.
    std::unique_ptr<UnitPublisher> publisherFor(std::vector<UsbIdentifier> further) {
        return std::make_unique<UnitPublisher>(
            desktop.registry, desktop.runLoop, desktop.clock,
            [this](const std::string&, FileDescriptor&) { return openError; }, std::move(further));
    }
    void see(int error, const HidNode& node = unitNode(3)) {
        openError = error;
        publisher->nodeSeen(node);
    }
    std::size_t listed(const MatchingDictionary& matching) {
        return pathsOf(desktop.registry, matching).size();
    }

    RecordingLog log;
    TestPlatform desktop;
    int openError = 0;
    std::unique_ptr<UnitPublisher> publisher = publisherFor({});
};

TEST_F(RefusedUnitTest, IsKnownForAsLongAsItIsThereAndShut) {
    EXPECT_EQ(publisher->refusedUnit(), nullptr);
    see(EACCES);
    ASSERT_NE(publisher->refusedUnit(), nullptr);
    EXPECT_EQ(publisher->refusedUnit()->path, cameraUnit().path);
    publisher->nodeGone(unitNode(3).path);
    EXPECT_EQ(publisher->refusedUnit(), nullptr);
    see(EACCES);
    see(0);
    EXPECT_EQ(publisher->refusedUnit(), nullptr);
}

TEST_F(RefusedUnitTest, IsNoneWhereAPermissionWouldNotHelp) {
    see(EBUSY);
    EXPECT_EQ(publisher->refusedUnit(), nullptr);
    see(ENODEV);
    EXPECT_EQ(publisher->refusedUnit(), nullptr);
}

TEST_F(RefusedUnitTest, IsNoneWhileItIsAnotherUsers) {
    see(EACCES);
    publisher->allowUnits(false);
    EXPECT_EQ(publisher->refusedUnit(), nullptr);
    publisher->allowUnits(true);
    EXPECT_NE(publisher->refusedUnit(), nullptr);
}

TEST_F(RefusedUnitTest, AFurtherUnitIsListedAsOneOfTheFirstKind) {
    HidNode other = unitNode(3);
    other.device.vendorID = 0xABCD;
    other.device.productID = 0x12;
    see(0, other);
    EXPECT_EQ(listed(IOServiceMatching("IOUSBDevice")), 0U) << "it is none unless somebody says so";
    publisher = publisherFor({{0xABCD, 0x11}, {0xABCD, 0x12}});
    see(EACCES, other);
    ASSERT_NE(publisher->refusedUnit(), nullptr);
    EXPECT_EQ(publisher->refusedUnit()->vendorID, 0xABCD) << "a permission is for what it really is";
    EXPECT_EQ(publisher->refusedUnit()->productID, 0x12);
    see(0, other);
    MatchingDictionary known = IOServiceMatching("IOUSBDevice");
    known.numbers = {{"idVendor", kUnitVendorID}, {"idProduct", kUnitFirstProductID}};
    EXPECT_EQ(listed(known), 1U);
    known = IOServiceMatching("IOHIDDevice");
    known.numbers = {{"VendorID", kUnitVendorID}, {"ProductID", kUnitFirstProductID}};
    EXPECT_EQ(listed(known), 1U);
}

TEST_F(RefusedUnitTest, AKnownUnitOfTheSecondKindStaysOne) {
    HidNode second = unitNode(3);
    second.device.productID = kUnitSecondProductID;
    see(0, second);
    MatchingDictionary known = IOServiceMatching("IOUSBDevice");
    known.numbers = {{"idProduct", kUnitSecondProductID}};
    EXPECT_EQ(listed(known), 1U);
}

} // namespace
} // namespace lightpen
