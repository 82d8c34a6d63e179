// SPDX-License-Identifier: MIT
// When a camera unit on the bus may be used: pure, sightings in and decisions out.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "linux_desktop/hid/HidDescriptor.h"

namespace lightpen {

// A USB device as the bus describes it.
struct UsbDevice {
    std::string path; // in sysfs; the same again when a device is replugged into the same socket
    std::int32_t vendorID = 0;
    std::int32_t productID = 0;
    std::string vendorName; // as the device says it; empty when it does not
    std::string productName;
};

// A hidraw node of a USB device, everything that one sighting of it tells.
struct HidNode {
    std::string path;          // in sysfs; a replugged device gets new ones
    std::string devnode;       // what is opened: "/dev/hidraw3"
    std::string interfacePath; // in sysfs, of the USB interface that the node belongs to
    int interfaceNumber = 0;
    std::vector<std::uint8_t> descriptor; // the report descriptor
    bool initialised = false;             // the rules have been applied, so its permissions are final
    UsbDevice device;
};

// Whether the device is one of the camera units.
bool isCameraUnit(const UsbDevice& device);
// Whether the node is the one through which a camera unit is used.
bool isPenNode(const HidNode& node);

// A HID service to be listed.
struct HidListing {
    HidNode node;
    HidDescriptor descriptor;
};

// What follows from a sighting, to be done in this order.
struct UnitDecisions {
    std::vector<std::string> messages;     // lines for the log
    std::vector<std::string> withdrawn;    // node paths and device paths that are not listed any more
    std::vector<HidListing> publishedHid;  // to be listed, in this order
    std::vector<UsbDevice> publishedUnits; // to be listed behind them: the unit's arrival comes last
};

// Keeps what is known of every unit on the bus. A unit is ready from the moment its pen node is there, has
// its final permissions, can be opened and has a usable descriptor, until that node or the device is gone; it
// is listed for exactly that time, its interfaces with high numbers first, since whoever looks for the pen's
// pays for each one it looks at. Sightings may be repeated, and may come in any order.
class UnitReadiness {
public:
    // A node was seen. openError is what opening it answered, 0 for success; none when nobody tried, which
    // leaves a pen node unready. A unit that is shut to the user is told of once for each time it is plugged
    // in.
    UnitDecisions nodeSeen(const HidNode& seen, std::optional<int> openError);
    // A node has gone, or its open file has hung up.
    UnitDecisions nodeGone(const std::string& path);
    // A whole device has gone.
    UnitDecisions deviceGone(const std::string& path);
    // Whether the node is listed.
    bool listed(const std::string& nodePath) const;
    // All known nodes, for comparison with a fresh look at the bus.
    std::vector<std::string> knownNodes() const;

private:
    struct Node {
        HidNode seen;
        std::optional<HidDescriptor> descriptor; // none when it cannot be used
        bool openable = false;
        bool listed = false;
    };
    struct Unit {
        UsbDevice device;
        std::map<std::string, Node> nodes; // by path
        bool listed = false;
        bool complained = false;
    };

    static void readDescriptor(Node& node, UnitDecisions& decisions);
    static void judgeOpening(Unit& unit, const HidNode& node, int error, UnitDecisions& decisions);
    static void publishReadyNodes(Unit& unit, UnitDecisions& decisions);
    static void withdraw(Unit& unit, UnitDecisions& decisions);

    std::map<std::string, Unit> units_; // by path
};

} // namespace lightpen
