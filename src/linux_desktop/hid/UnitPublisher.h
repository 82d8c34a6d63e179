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

// Lists the camera units that are ready in the registry, makes their device interfaces, and lets those vanish
// when the unit goes, whoever notices first: the bus or an open node. Main thread.
class UnitPublisher {
public:
    // Opens a node, as openHidrawNode does.
    using OpenNode = std::function<int(const std::string& devnode, FileDescriptor& node)>;

    // The registry, the loop and the clock outlive this object, and the device interfaces and queues too.
    UnitPublisher(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock,
                  OpenNode openNode = openHidrawNode);
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
    // What is listed under one sysfs path, and the devices that were made of it.
    struct Listed {
        io_service_t service = 0;
        std::vector<std::weak_ptr<HidrawDevice>> devices;
    };

    void carryOut(const UnitDecisions& decisions);
    void withdraw(const std::string& path);
    void publishHid(const HidListing& listing);
    std::function<std::shared_ptr<IOCFPlugInInterface>()> plugInOf(const HidListing& listing,
                                                                   std::weak_ptr<Listed> listed);
    std::function<void()> hangUpHandler(std::string path, std::weak_ptr<Listed> listed);

    ServiceRegistry& registry_;
    RunLoop& runLoop_;
    Clock& clock_;
    const OpenNode openNode_;
    UnitReadiness readiness_;
    std::map<std::string, std::shared_ptr<Listed>> listed_; // by sysfs path
    // For requests on the loop, which may come after this object's end.
    const std::shared_ptr<UnitPublisher*> self_ = std::make_shared<UnitPublisher*>(this);
};

} // namespace lightpen
