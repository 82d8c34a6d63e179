// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UnitServices.h"

#include <gtest/gtest.h>

#include "kit/CameraUnits.h"

namespace lightpen {
namespace {

using namespace test;

HidListing listing(const HidNode& node) {
    return {node, std::get<HidDescriptor>(parseHidDescriptor(node.descriptor))};
}

TEST(UnitServices, AUsbDeviceTellsItsIdentifiersAndNames) {
    UsbDevice device = cameraUnit();
    device.productID = kUnitSecondProductID;
    const ServiceDescription service = usbDeviceService(device);
    EXPECT_EQ(service.className, "IOUSBDevice");
    EXPECT_EQ(service.path, "IOService:/devices/pci0000:00/usb1/1-2");
    EXPECT_EQ(describe(service.properties),
              "{USB Product Name = NX7; USB Vendor Name = Lightpen Works; idProduct = 2; idVendor = 4617; }");
    EXPECT_FALSE(service.plugIn);
}

TEST(UnitServices, AHidDeviceTellsItsReportsToo) {
    const ServiceDescription service = hidDeviceService(listing(unitNode(3)));
    EXPECT_EQ(service.className, "IOHIDDevice");
    EXPECT_EQ(describe(service.properties),
              "{InputReportElements = ({ElementCookie = 1; ReportID = 0; Size = 6432; Usage = 1; UsagePage = "
              "65280; }); Manufacturer = Lightpen Works; MaxInputReportSize = 804; MaxOutputReportSize = 32; "
              "Product = NX7; ProductID = 1; VendorID = 4617; }");
}

TEST(UnitServices, NamesThatAUnitDoesNotGiveAreAbsent) {
    HidNode node = unitNode(0);
    node.device.vendorName.clear();
    node.device.productName.clear();
    EXPECT_FALSE(hidDeviceService(listing(node)).properties.entries.contains("Manufacturer"));
    EXPECT_FALSE(usbDeviceService(node.device).properties.entries.contains("USB Vendor Name"));
}

TEST(UnitServices, ThePathHoldsTheInterfaceNumberInItsPlace) {
    EXPECT_EQ(hidDeviceService(listing(unitNode(3))).path,
              "IOService:/devices/pci0000:00/usb1/1-2/IOUSBInterface@3/0003:1209:0001.0013/hidraw/hidraw13");
    HidNode odd = unitNode(2);
    odd.interfacePath = "/sys/elsewhere";
    EXPECT_EQ(hidDeviceService(listing(odd)).path,
              "IOService:/devices/pci0000:00/usb1/1-2/1-2:1.2/0003:1209:0001.0012/hidraw/hidraw12"
              "/IOUSBInterface@2");
}

} // namespace
} // namespace lightpen
