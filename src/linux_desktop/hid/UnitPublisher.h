// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux_desktop/hid/HidDescriptor.h"
#include "linux_desktop/hid/HidrawDevice.h"
#include "platform/RunLoop.h"
#include "platform/ServiceRegistry.h"
#include "platform/Time.h"
#include "platform/UsbIdentifier.h"

namespace lightpen {

// A USB device as the bus describes it.
struct UsbDevice {
    std::string path; // in sysfs; the same again when a device is replugged into the same socket
    std::int32_t vendorID = 0;
    std::int32_t productID = 0;
    std::string vendorName; // as the device says it; empty when it does not
    std::string productName;
    std::string serialNumber;
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

// Whether the device is a camera unit: one of those that are known, or of the further ones.
bool isCameraUnit(const UsbDevice& device, const std::vector<UsbIdentifier>& further);

// Whether the node is the one through which its unit is used.
bool isPenNode(const HidNode& node);

// The "IOUSBDevice" of a unit: "idVendor", "idProduct", and "USB Vendor Name" and "USB Product Name" where
// the unit gives them.
ServiceDescription usbDeviceService(const UsbDevice& device);

// The "IOHIDDevice" of a node, without its plug-in: "VendorID", "ProductID", "Manufacturer" and "Product"
// where the unit gives them, "InputReportElements", "MaxInputReportSize" and "MaxOutputReportSize" (bytes).
// Its path is the node's with the USB interface's step as "IOUSBInterface@<number>".
ServiceDescription hidDeviceService(const HidNode& node, const HidDescriptor& descriptor);

// Lists the camera units that are ready in the registry, makes their device interfaces, and lets those vanish
// when the unit goes, whoever notices first: the bus or an open node. A unit is ready from the moment its pen
// node is there, has its final permissions, can be opened and has a usable descriptor, until that node or the
// device is gone. It is listed for exactly that time, its interfaces with high numbers first, since whoever
// looks for the pen's pays for each one it looks at, and its arrival comes last. Sightings may be repeated,
// and may come in any order. Main thread.
class UnitPublisher {
public:
    // The registry, the loop and the clock outlive this object, and the device interfaces and queues too. The
    // further units are listed as if they were of the first kind that is known.
    UnitPublisher(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock,
                  OpenHidrawNode openNode = openHidrawNode, std::vector<UsbIdentifier> furtherUnits = {});
    // What is listed stays listed; nothing is told of hang-ups any more.
    ~UnitPublisher() = default;
    UnitPublisher(const UnitPublisher&) = delete;
    UnitPublisher& operator=(const UnitPublisher&) = delete;

    // All hidraw nodes of USB devices that there are now: those not mentioned are gone.
    void allNodes(const std::vector<HidNode>& nodes);
    // A node has appeared or changed. A unit that is shut to the user is told of once for each time it is
    // plugged in.
    void nodeSeen(const HidNode& seen);
    // A node has gone, or its open file has hung up.
    void nodeGone(const std::string& path);
    void deviceGone(const std::string& path);

    // Whether units may be listed; so it is at first. When they may not any more, those that are listed leave
    // as if they were unplugged, and none is opened. When they may again, those that are there arrive.
    void allowUnits(bool allowed);
    // Whether there is a pen's node that could not be opened.
    bool hasShutNode() const;
    // The unit whose pen's node the user has no permission to open, as it says of itself; null while there is
    // none. Stands until the next sighting of anything.
    const UsbDevice* refusedUnit() const;
    // Tries such nodes once more: who may open a node can change without a word from the bus.
    void retryShutNodes();

private:
    // A node's service in the registry, and the devices that were made of it.
    struct Listed {
        io_service_t service = 0;
        std::vector<std::weak_ptr<HidrawDevice>> devices;
    };
    struct Node {
        HidNode seen;
        std::optional<HidDescriptor> descriptor; // none when it cannot be used
        IOReturn opening = kIOReturnNotOpen;     // what came of trying it: only the pen's node is tried
        std::shared_ptr<Listed> listed;          // null while it is not
    };
    struct Unit {
        UsbDevice device;
        std::map<std::string, Node> nodes; // by path
        io_service_t service = 0;          // 0 while it is not listed
        bool complained = false;
    };

    static bool isShut(const Node& node);
    void seeAgain(const std::function<bool(const Node&)>& wanted);
    const Unit* unitWithNode(const std::function<bool(const Node&)>& wanted) const;
    IOReturn tryToOpen(Unit& unit, const HidNode& node) const;
    UsbDevice listedAs(UsbDevice device) const;
    void publishReadyNodes(Unit& unit);
    void publish(Node& node);
    static IOCFPlugInInterface plugInOf(HidrawNode node, std::weak_ptr<Listed> of, Clock& clock);
    void withdraw(Unit& unit);
    void withdraw(Node& node);

    ServiceRegistry& registry_;
    RunLoop& runLoop_;
    Clock& clock_;
    const OpenHidrawNode openNode_;
    const std::vector<UsbIdentifier> furtherUnits_;
    std::map<std::string, Unit> units_; // by path
    bool allowed_ = true;
    // For requests on the loop, which may come after this object's end.
    const std::shared_ptr<UnitPublisher*> self_ = std::make_shared<UnitPublisher*>(this);
};

} // namespace lightpen
