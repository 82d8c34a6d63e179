// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "kit/HidDescriptors.h"
#include "linux_desktop/hid/UnitPublisher.h"
#include "platform/UnitIdentifiers.h"

namespace lightpen::test {

inline UsbDevice cameraUnit(const std::string& socket = "1-2") {
    return {"/sys/devices/pci0000:00/usb1/" + socket,
            kUnitVendorID,
            kUnitFirstProductID,
            "Lightpen Works",
            "NX7",
            "LW-0042"};
}

// A node of the unit, of the plug-in with this serial number: each one gives a node another path and name.
inline HidNode unitNode(int interfaceNumber, int serial = 1, const std::string& socket = "1-2") {
    HidNode node;
    node.device = cameraUnit(socket);
    node.interfaceNumber = interfaceNumber;
    node.interfacePath = node.device.path + "/" + socket + ":1." + std::to_string(interfaceNumber);
    const std::string number = std::to_string(serial * 10 + interfaceNumber);
    node.devnode = "/dev/hidraw" + number;
    node.path = node.interfacePath + "/0003:1209:0001.00" + number + "/hidraw/hidraw" + number;
    node.descriptor =
        interfaceNumber == kUnitPenInterfaceNumber ? unitDescriptor(804, 32) : unitDescriptor(8, 8);
    node.initialised = true;
    return node;
}

// The paths of the services that match, in the order in which they are listed.
inline std::vector<std::string> pathsOf(ServiceRegistry& registry, const MatchingDictionary& matching) {
    std::vector<std::string> paths;
    io_iterator_t services = 0;
    registry.IOServiceGetMatchingServices(0, matching, services);
    while (const io_object_t service = registry.IOIteratorNext(services)) {
        registry.IORegistryEntryGetPath(service, kIOServicePlane, paths.emplace_back());
        registry.IOObjectRelease(service);
    }
    registry.IOObjectRelease(services);
    return paths;
}

} // namespace lightpen::test
