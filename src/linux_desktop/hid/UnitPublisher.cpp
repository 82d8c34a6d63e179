// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UnitPublisher.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/Log.h"

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

// Makes the device interfaces of a listed node; none once it has been withdrawn.
class UnitPublisher::PlugIn final : public IOCFPlugInInterface {
public:
    PlugIn(HidrawNode node, std::weak_ptr<Listed> listed, Clock& clock)
        : node_(std::move(node)), listed_(std::move(listed)), clock_(clock) {}
    IOHIDDeviceInterfaceRef queryInterface() override {
        const auto listed = listed_.lock();
        if (!listed)
            return nullptr;
        auto device = std::make_shared<HidrawDevice>(node_, clock_);
        std::erase_if(listed->devices, [](const auto& weak) { return weak.expired(); });
        listed->devices.push_back(device);
        return device;
    }

private:
    const HidrawNode node_;
    const std::weak_ptr<Listed> listed_;
    Clock& clock_;
};

UnitPublisher::UnitPublisher(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock,
                             OpenHidrawNode openNode)
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
        openError = openHidrawNode(node.devnode, opened, openNode_);
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
        service.plugIn = std::make_shared<PlugIn>(hidrawNodeOf(listing, listed), listed, clock_);
    listed->service = registry_.publish(std::move(service));
    listed_[listing.node.path] = listed;
}

HidrawNode UnitPublisher::hidrawNodeOf(const HidListing& listing,
                                       const std::shared_ptr<Listed>& listed) const {
    return {listing.node.devnode, *listing.descriptor.inputReport(0),
            [&loop = runLoop_] { return loop.terminating(); }, hangUpHandler(listing.node.path, listed),
            openNode_};
}

// A node that has been withdrawn meanwhile has no entry any more: its successor is not meant.
std::function<void()> UnitPublisher::hangUpHandler(std::string path, std::weak_ptr<Listed> listed) const {
    return [&loop = runLoop_, self = std::weak_ptr(self_), path = std::move(path),
            listed = std::move(listed)] {
        loop.performOnMainThread({nullptr, "nodeHungUp", path, [self, path, listed] {
                                      if (const auto publisher = self.lock(); publisher && !listed.expired())
                                          (*publisher)->nodeGone(path);
                                  }});
    };
}

} // namespace lightpen
