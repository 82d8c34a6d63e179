// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "linux_desktop/hid/HidrawDevice.h"
#include "linux_desktop/hid/UnitReadiness.h"
#include "platform/RunLoop.h"
#include "platform/ServiceRegistry.h"
#include "platform/Time.h"

namespace lightpen {

// The "IOUSBDevice" of a unit: "idVendor", "idProduct", and "USB Vendor Name" and "USB Product Name" where
// the unit gives them.
ServiceDescription usbDeviceService(const UsbDevice& device);

// The "IOHIDDevice" of a node, without its plug-in: "VendorID", "ProductID", "Manufacturer" and "Product"
// where the unit gives them, "InputReportElements", "MaxInputReportSize" and "MaxOutputReportSize" (bytes).
// Its path is the node's with the USB interface's step as "IOUSBInterface@<number>".
ServiceDescription hidDeviceService(const HidListing& listing);

// Lists the camera units that are ready in the registry, makes their device interfaces, and lets those vanish
// when the unit goes, whoever notices first: the bus or an open node. Main thread.
class UnitPublisher {
public:
    // The registry, the loop and the clock outlive this object, and the device interfaces and queues too.
    UnitPublisher(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, OpenHidrawNode openNode = {});
    // What is listed stays listed; nothing is told of hang-ups any more.
    ~UnitPublisher() = default;
    UnitPublisher(const UnitPublisher&) = delete;
    UnitPublisher& operator=(const UnitPublisher&) = delete;

    // All hidraw nodes of USB devices that there are now: those not mentioned are gone.
    void allNodes(const std::vector<HidNode>& nodes);
    // A node has appeared or changed.
    void nodeSeen(const HidNode& node);
    void nodeGone(const std::string& path);
    void deviceGone(const std::string& path);

private:
    class PlugIn;
    // What is listed under one sysfs path, and the devices that were made of it.
    struct Listed {
        io_service_t service = 0;
        std::vector<std::weak_ptr<HidrawDevice>> devices;
    };

    void carryOut(const UnitDecisions& decisions);
    void withdraw(const std::string& path);
    void publishHid(const HidListing& listing);
    HidrawNode hidrawNodeOf(const HidListing& listing, const std::shared_ptr<Listed>& listed) const;
    std::function<void()> hangUpHandler(std::string path, std::weak_ptr<Listed> listed) const;

    ServiceRegistry& registry_;
    RunLoop& runLoop_;
    Clock& clock_;
    const OpenHidrawNode openNode_;
    UnitReadiness readiness_;
    std::map<std::string, std::shared_ptr<Listed>> listed_; // by sysfs path
    // For requests on the loop, which may come after this object's end.
    const std::shared_ptr<UnitPublisher*> self_ = std::make_shared<UnitPublisher*>(this);
};

} // namespace lightpen
