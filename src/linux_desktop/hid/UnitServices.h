// SPDX-License-Identifier: MIT
// What the registry shows of a camera unit: pure.
#pragma once

#include "linux_desktop/hid/UnitReadiness.h"
#include "platform/ServiceRegistry.h"

namespace lightpen {

// The "IOUSBDevice" of a unit: "idVendor", "idProduct", and "USB Vendor Name" and "USB Product Name" where
// the unit gives them.
ServiceDescription usbDeviceService(const UsbDevice& device);

// The "IOHIDDevice" of a node, without its plug-in: "VendorID", "ProductID", "Manufacturer" and "Product"
// where the unit gives them, "InputReportElements", "MaxInputReportSize" and "MaxOutputReportSize" (bytes).
// Its path is the node's with the USB interface's step as "IOUSBInterface@<number>".
ServiceDescription hidDeviceService(const HidListing& listing);

} // namespace lightpen
