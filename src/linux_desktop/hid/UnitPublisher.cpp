// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UnitPublisher.h"

#include <algorithm>
#include <utility>

#include "linux_desktop/hid/UnitServices.h"
#include "platform/Log.h"

namespace lightpen {

UnitPublisher::UnitPublisher(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock, OpenNode openNode)
    : registry_(registry), runLoop_(runLoop), clock_(clock), openNode_(std::move(openNode)) {}

void UnitPublisher::allNodes(const std::vector<HidNode>& nodes) {
    for (const std::string& known : readiness_.knownNodes()) {
        const auto isKnown = [&](const HidNode& node) { return node.path == known; };
        if (std::none_of(nodes.begin(), nodes.end(), isKnown))
            nodeGone(known);
    }
    for (const HidNode& node : nodes)
        nodeSeen(node);
}

void UnitPublisher::nodeSeen(const HidNode& node) {
    std::optional<int> openError;
    // Opening it is the only sure answer, but it costs 50 ms: once is enough.
    if (isPenNode(node) && node.initialised && !readiness_.listed(node.path)) {
        FileDescriptor opened;
        openError = openNode_(node.devnode, opened);
    }
    carryOut(readiness_.nodeSeen(node, openError));
}

void UnitPublisher::nodeGone(const std::string& path) {
    carryOut(readiness_.nodeGone(path));
}

void UnitPublisher::deviceGone(const std::string& path) {
    carryOut(readiness_.deviceGone(path));
}

void UnitPublisher::carryOut(const UnitDecisions& decisions) {
    for (const std::string& message : decisions.messages)
        logLine("%s", message.c_str());
    for (const std::string& path : decisions.withdrawn)
        withdraw(path);
    for (const HidListing& listing : decisions.publishedHid)
        publishHid(listing);
    for (const UsbDevice& device : decisions.publishedUnits) {
        listed_[device.path] = std::make_shared<Listed>();
        listed_[device.path]->service = registry_.publish(usbDeviceService(device));
    }
}

void UnitPublisher::withdraw(const std::string& path) {
    const auto found = listed_.find(path);
    if (found == listed_.end())
        return;
    const auto listed = std::move(found->second);
    listed_.erase(found);
    for (const auto& weak : listed->devices)
        if (const auto device = weak.lock())
            device->vanish();
    registry_.withdraw(listed->service);
}

void UnitPublisher::publishHid(const HidListing& listing) {
    const auto listed = std::make_shared<Listed>();
    ServiceDescription service = hidDeviceService(listing);
    // Numbered reports are nobody's here: such an interface is listed, but has no plug-in.
    if (listing.descriptor.inputReport(0))
        service.plugIn = plugInOf(listing, listed);
    listed->service = registry_.publish(std::move(service));
    listed_[listing.node.path] = listed;
}

std::function<std::shared_ptr<IOCFPlugInInterface>()> UnitPublisher::plugInOf(const HidListing& listing,
                                                                              std::weak_ptr<Listed> listed) {
    HidrawNode node;
    node.name = listing.node.devnode;
    node.input = *listing.descriptor.inputReport(0);
    node.open = [open = openNode_, devnode = node.name](FileDescriptor& opened) {
        return open(devnode, opened);
    };
    node.terminating = [&loop = runLoop_] { return loop.terminating(); };
    node.gone = hangUpHandler(listing.node.path, listed);
    auto makeDevice = [node = std::move(node), listed = std::move(listed),
                       &clock = clock_]() -> IOHIDDeviceInterfaceRef {
        const auto entry = listed.lock();
        if (!entry)
            return nullptr;
        auto device = std::make_shared<HidrawDevice>(node, clock);
        std::erase_if(entry->devices, [](const auto& weak) { return weak.expired(); });
        entry->devices.push_back(device);
        return device;
    };
    return [makeDevice = std::move(makeDevice)] { return std::make_shared<HidrawPlugIn>(makeDevice); };
}

// A node that has been withdrawn meanwhile has no entry any more: its successor is not meant.
std::function<void()> UnitPublisher::hangUpHandler(std::string path, std::weak_ptr<Listed> listed) {
    return [&loop = runLoop_, self = std::weak_ptr(self_), path = std::move(path),
            listed = std::move(listed)] {
        loop.performOnMainThread({nullptr, "nodeHungUp", path, [self, path, listed] {
                                      if (const auto publisher = self.lock(); publisher && !listed.expired())
                                          (*publisher)->nodeGone(path);
                                  }});
    };
}

} // namespace lightpen
