// SPDX-License-Identifier: MIT
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"
#include "kit/TestPlatform.h"
#include "matching/RBIOServiceMatchingServer.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ServicePropertiesTest : public testing::Test {
protected:
    io_service_t service(PropertyDictionary properties, std::string path = {}) {
        return desk.registry.publish({"IOHIDDevice", std::move(path), std::move(properties), {}});
    }
    std::int32_t interfaceNumber(const std::string& path) {
        return server.interfaceNumberOfHIDIOService(service({}, path));
    }

    TestPlatform desk;
    RecordingLog log;
    RBIOServiceMatchingServer server;
};

using NumberReader = std::int32_t (RBIOServiceMatchingServer::*)(io_object_t);
struct NumberCase {
    NumberReader reader;
    const char* key;
    std::vector<std::string> lines; // for a number that does not fit
};

std::vector<NumberCase> numberCases() {
    using Server = RBIOServiceMatchingServer;
    return {{&Server::pidOfHIDIOService, "ProductID", {"RBIOS n:248 Get HID PID error"}},
            {&Server::vidOfHIDIOService, "VendorID", {}},
            {&Server::pidOfUSBIOService, "idProduct", {}},
            {&Server::vidOfUSBIOService, "idVendor", {}},
            {&Server::interfaceNumberOfUSBIOService, "bInterfaceNumber", {}}};
}

TEST_F(ServicePropertiesTest, NumbersAreReadFromTheirOwnKeySignedAndOf32Bits) {
    for (const NumberCase& number : numberCases()) {
        for (const std::int64_t value : {std::int64_t{std::numeric_limits<std::int32_t>::min()},
                                         std::int64_t{std::numeric_limits<std::int32_t>::max()}})
            EXPECT_EQ((server.*number.reader)(service({{{number.key, value}}})), value) << number.key;
        EXPECT_THAT(log.takeLines(), IsEmpty());
        for (const std::int64_t value :
             {std::int64_t{0x80000000}, std::int64_t{-0x80000001LL}, std::int64_t{0x100000005}}) {
            EXPECT_EQ((server.*number.reader)(service({{{number.key, value}}})), 0) << number.key;
            EXPECT_EQ(log.takeLines(), number.lines) << number.key;
        }
    }
}

TEST_F(ServicePropertiesTest, AbsentNumbersAndOtherTypesAreZeroWithoutALine) {
    for (const NumberCase& number : numberCases()) {
        EXPECT_EQ((server.*number.reader)(service({})), 0);
        EXPECT_EQ((server.*number.reader)(service({{{number.key, std::string("7")}}})), 0);
        EXPECT_EQ((server.*number.reader)(service({{{number.key, std::vector<PropertyDictionary>()}}})), 0);
        EXPECT_EQ((server.*number.reader)(0), 0);
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ServicePropertiesTest, VendorNamesAreTextOrNone) {
    const io_service_t unit =
        service({{{"Manufacturer", std::string("Hid maker")}, {"USB Vendor Name", std::string()}}});
    EXPECT_EQ(server.vendorNameOfHIDIOService(unit), "Hid maker");
    EXPECT_EQ(server.vendorNameOfUSBIOService(unit), "");
    const io_service_t other = service({{{"Manufacturer", 5}, {"USB Vendor Name", 6}}});
    EXPECT_EQ(server.vendorNameOfHIDIOService(other), std::nullopt);
    EXPECT_EQ(server.vendorNameOfUSBIOService(other), std::nullopt);
    EXPECT_EQ(server.vendorNameOfHIDIOService(service({})), std::nullopt);
}

TEST_F(ServicePropertiesTest, InterfaceNumberIsTheDigitBehindTheFirstMark) {
    EXPECT_EQ(interfaceNumber("IOService:/usb1/IOUSBInterface@1/IOUSBInterface@4"), 1);
    EXPECT_THAT(log.takeLines(), ElementsAre("RBIOS n:289 char: 1", "RBIOS n:292 interface number :1"));
    EXPECT_THAT(desk.clock.takeSleeps(), ElementsAre(Microseconds(500'000)));
}

TEST_F(ServicePropertiesTest, OnlyOneDigitIsRead) {
    EXPECT_EQ(interfaceNumber("/IOUSBInterface@9"), 9);
    EXPECT_EQ(interfaceNumber("/IOUSBInterface@13"), 1);
    log.clear();
    EXPECT_EQ(interfaceNumber("/IOUSBInterface@a"), 0);
    EXPECT_THAT(log.takeLines(), ElementsAre("RBIOS n:289 char: a", "RBIOS n:292 interface number :0"));
    for (const char* besideDigits : {"/IOUSBInterface@/", "/IOUSBInterface@:"})
        EXPECT_EQ(interfaceNumber(besideDigits), 0);
    EXPECT_EQ(desk.clock.takeSleeps().size(), 5u);
}

TEST_F(ServicePropertiesTest, EmptyPathIsMinusOneAfterTheSamePause) {
    EXPECT_EQ(interfaceNumber(""), -1);
    EXPECT_THAT(log.lines(), ElementsAre("RBIOS n:292 interface number :-1"));
    EXPECT_THAT(desk.clock.takeSleeps(), ElementsAre(Microseconds(500'000)));
    EXPECT_EQ(server.interfaceNumberOfHIDIOService(0), -1) << "no such service";
}

TEST_F(ServicePropertiesTest, PathThatDoesNotFitItsBufferIsEmpty) {
    const std::string mark = "IOUSBInterface@2";
    EXPECT_EQ(interfaceNumber(std::string(511 - mark.size(), '/') + mark), 2);
    EXPECT_EQ(interfaceNumber(std::string(512 - mark.size(), '/') + mark), -1);
}

TEST_F(ServicePropertiesTest, PathWithoutTheNumberEndsTheProcess) {
    for (const char* path : {"IOService:/usb1/interface 1", "IOUSBInterface", "/IOUSBInterface@"}) {
        log.clear();
        EXPECT_THROW(interfaceNumber(path), ProcessExit) << path;
        const auto lines = log.lines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_THAT(lines[0], HasSubstr("Range error"));
        EXPECT_THAT(lines[0], HasSubstr(path));
    }
    EXPECT_THAT(desk.clock.takeSleeps(), IsEmpty());
}

} // namespace
} // namespace lightpen
