// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UnitServices.h"

#include <algorithm>
#include <string_view>

namespace lightpen {

namespace {

std::string registryPath(std::string_view sysfsPath) {
    constexpr std::string_view mount = "/sys";
    if (sysfsPath.starts_with(mount))
        sysfsPath.remove_prefix(mount.size());
    return "IOService:" + std::string(sysfsPath);
}

std::string hidPath(const HidNode& node) {
    const std::string marker = "/IOUSBInterface@" + std::to_string(node.interfaceNumber);
    if (!node.path.starts_with(node.interfacePath + "/"))
        return registryPath(node.path) + marker;
    const std::string parent = node.interfacePath.substr(0, node.interfacePath.rfind('/'));
    return registryPath(parent) + marker + node.path.substr(node.interfacePath.size());
}

void addString(PropertyDictionary& properties, std::string_view key, const std::string& value) {
    if (!value.empty())
        properties.entries.emplace(key, value);
}

std::int64_t longest(const std::vector<HidReport>& reports) {
    std::size_t length = 0;
    for (const HidReport& report : reports)
        length = std::max(length, report.length);
    return static_cast<std::int64_t>(length);
}

} // namespace

ServiceDescription usbDeviceService(const UsbDevice& device) {
    ServiceDescription service;
    service.className = "IOUSBDevice";
    service.path = registryPath(device.path);
    service.properties.entries = {{"idVendor", std::int64_t{device.vendorID}},
                                  {"idProduct", std::int64_t{device.productID}}};
    addString(service.properties, "USB Vendor Name", device.vendorName);
    addString(service.properties, "USB Product Name", device.productName);
    return service;
}

ServiceDescription hidDeviceService(const HidListing& listing) {
    const UsbDevice& device = listing.node.device;
    ServiceDescription service;
    service.className = "IOHIDDevice";
    service.path = hidPath(listing.node);
    service.properties.entries = {{"VendorID", std::int64_t{device.vendorID}},
                                  {"ProductID", std::int64_t{device.productID}},
                                  {"InputReportElements", inputReportElements(listing.descriptor)},
                                  {"MaxInputReportSize", longest(listing.descriptor.inputReports)},
                                  {"MaxOutputReportSize", longest(listing.descriptor.outputReports)}};
    addString(service.properties, "Manufacturer", device.vendorName);
    addString(service.properties, "Product", device.productName);
    return service;
}

} // namespace lightpen
