// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UnitPublisher.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/Log.h"
#include "platform/UnitIdentifiers.h"

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

// The node's descriptor; none, with a log line, when it cannot be used.
std::optional<HidDescriptor> descriptorOf(const HidNode& node) {
    auto result = parseHidDescriptor(node.descriptor);
    const auto* descriptor = std::get_if<HidDescriptor>(&result);
    if (descriptor && (!isPenNode(node) || descriptor->inputReport(0)))
        return *descriptor;
    logLine("HID: %s: %s", node.devnode.c_str(),
            descriptor ? "the report descriptor has no input report without an ID"
                       : std::get<HidDescriptorError>(result).text.c_str());
    return std::nullopt;
}

} // namespace

bool isCameraUnit(const UsbDevice& device, const std::vector<UsbIdentifier>& further) {
    const UsbIdentifier one{device.vendorID, device.productID};
    return one == UsbIdentifier{kUnitVendorID, kUnitFirstProductID} ||
           one == UsbIdentifier{kUnitVendorID, kUnitSecondProductID} ||
           std::ranges::find(further, one) != further.end();
}

bool isPenNode(const HidNode& node) {
    return node.interfaceNumber == kUnitPenInterfaceNumber;
}

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

ServiceDescription hidDeviceService(const HidNode& node, const HidDescriptor& descriptor) {
    const UsbDevice& device = node.device;
    ServiceDescription service;
    service.className = "IOHIDDevice";
    service.path = hidPath(node);
    service.properties.entries = {{"VendorID", std::int64_t{device.vendorID}},
                                  {"ProductID", std::int64_t{device.productID}},
                                  {"InputReportElements", inputReportElements(descriptor)},
                                  {"MaxInputReportSize", longest(descriptor.inputReports)},
                                  {"MaxOutputReportSize", longest(descriptor.outputReports)}};
    addString(service.properties, "Manufacturer", device.vendorName);
    addString(service.properties, "Product", device.productName);
    addString(service.properties, "SerialNumber", device.serialNumber);
    return service;
}

// Makes the device interfaces of a listed node; none once it has been withdrawn.
IOCFPlugInInterface UnitPublisher::plugInOf(HidrawNode node, std::weak_ptr<Listed> of, Clock& clock) {
    return [node = std::move(node), of = std::move(of), &clock]() -> IOHIDDeviceInterfaceRef {
        const auto listed = of.lock();
        if (!listed)
            return nullptr;
        auto device = std::make_shared<HidrawDevice>(node, clock);
        std::erase_if(listed->devices, [](const auto& weak) { return weak.expired(); });
        listed->devices.push_back(device);
        return device;
    };
}

UnitPublisher::UnitPublisher(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock,
                             OpenHidrawNode openNode, std::vector<UsbIdentifier> furtherUnits)
    : registry_(registry), runLoop_(runLoop), clock_(clock), openNode_(std::move(openNode)),
      furtherUnits_(std::move(furtherUnits)) {}

// The driver knows two kinds and asks for no others.
UsbDevice UnitPublisher::listedAs(UsbDevice device) const {
    if (!isCameraUnit(device, {})) {
        device.vendorID = kUnitVendorID;
        device.productID = kUnitFirstProductID;
    }
    return device;
}

void UnitPublisher::allNodes(const std::vector<HidNode>& nodes) {
    std::vector<std::string> gone;
    for (const auto& [devicePath, unit] : units_)
        for (const auto& known : unit.nodes)
            if (std::none_of(nodes.begin(), nodes.end(),
                             [&](const HidNode& node) { return node.path == known.first; }))
                gone.push_back(known.first);
    for (const std::string& path : gone)
        nodeGone(path);
    for (const HidNode& node : nodes)
        nodeSeen(node);
}

void UnitPublisher::nodeSeen(const HidNode& seen) {
    if (!isCameraUnit(seen.device, furtherUnits_) || seen.devnode.empty())
        return;
    Unit& unit = units_[seen.device.path];
    if (unit.service == 0)
        unit.device = seen.device;
    const auto [found, isNew] = unit.nodes.try_emplace(seen.path);
    Node& node = found->second;
    if (node.listed)
        return;
    if (isNew || node.seen.descriptor != seen.descriptor)
        node.descriptor = descriptorOf(seen);
    node.seen = seen;
    // Opening it is the only sure answer, but it costs 50 ms: once is enough.
    node.opening = allowed_ && isPenNode(seen) && seen.initialised ? tryToOpen(unit, seen) : kIOReturnNotOpen;
    publishReadyNodes(unit);
}

void UnitPublisher::allowUnits(bool allowed) {
    if (std::exchange(allowed_, allowed) == allowed)
        return;
    if (allowed)
        return seeAgain([](const Node&) { return true; });
    for (auto& [path, unit] : units_)
        withdraw(unit);
}

bool UnitPublisher::isShut(const Node& node) {
    return isPenNode(node.seen) && node.seen.initialised && node.opening != kIOReturnSuccess;
}

// The first one, while units are allowed.
const UnitPublisher::Unit* UnitPublisher::unitWithNode(const std::function<bool(const Node&)>& wanted) const {
    const auto found = std::ranges::find_if(units_, [&](const auto& unit) {
        return std::ranges::any_of(unit.second.nodes, [&](const auto& node) { return wanted(node.second); });
    });
    return allowed_ && found != units_.end() ? &found->second : nullptr;
}

bool UnitPublisher::hasShutNode() const {
    return unitWithNode(isShut) != nullptr;
}

const UsbDevice* UnitPublisher::refusedUnit() const {
    const Unit* unit = unitWithNode([](const Node& node) { return node.opening == kIOReturnNotPrivileged; });
    return unit ? &unit->device : nullptr;
}

void UnitPublisher::retryShutNodes() {
    seeAgain(isShut);
}

// Copies, since seeing a node writes it.
void UnitPublisher::seeAgain(const std::function<bool(const Node&)>& wanted) {
    std::vector<HidNode> nodes;
    for (const auto& [devicePath, unit] : units_)
        for (const auto& [path, node] : unit.nodes)
            if (wanted(node))
                nodes.push_back(node.seen);
    for (const HidNode& node : nodes)
        nodeSeen(node);
}

IOReturn UnitPublisher::tryToOpen(Unit& unit, const HidNode& node) const {
    FileDescriptor opened;
    const int error = openNode_(node.devnode, opened);
    if (error == 0)
        return kIOReturnSuccess;
    const IOReturn result = resultOfOpenError(error);
    // A node that is on its way out is soon reported gone.
    if (result == kIOReturnNoDevice || std::exchange(unit.complained, true))
        return result;
    if (result == kIOReturnNotPrivileged)
        logLine("HID: no permission to open the camera unit's %s: install 70-lightpen-nx7.rules in "
                "/etc/udev/rules.d, then unplug the unit and plug it in again",
                node.devnode.c_str());
    else
        logLine("HID: the camera unit's %s cannot be opened: %s", node.devnode.c_str(),
                errorText(error).c_str());
    return result;
}

void UnitPublisher::publishReadyNodes(Unit& unit) {
    if (!allowed_)
        return;
    std::vector<Node*> ready;
    for (auto& [path, node] : unit.nodes)
        if (node.seen.initialised && node.descriptor &&
            (node.opening == kIOReturnSuccess || !isPenNode(node.seen)))
            ready.push_back(&node);
    if (std::none_of(ready.begin(), ready.end(), [](const Node* node) { return isPenNode(node->seen); }))
        return;
    std::stable_sort(ready.begin(), ready.end(), [](const Node* left, const Node* right) {
        return left->seen.interfaceNumber > right->seen.interfaceNumber;
    });
    for (Node* node : ready)
        if (!node->listed)
            publish(*node);
    if (unit.service == 0)
        unit.service = registry_.publish(usbDeviceService(listedAs(unit.device)));
}

void UnitPublisher::publish(Node& node) {
    node.listed = std::make_shared<Listed>();
    HidNode listed = node.seen;
    listed.device = listedAs(std::move(listed.device));
    ServiceDescription service = hidDeviceService(listed, *node.descriptor);
    // Numbered reports are nobody's here: such an interface is listed, but has no plug-in.
    if (const HidReport* input = node.descriptor->inputReport(0)) {
        // A node that has been withdrawn meanwhile is not listed any more: its successor is not meant.
        auto gone = [&loop = runLoop_, self = std::weak_ptr(self_), path = node.seen.path,
                     listed = std::weak_ptr(node.listed)] {
            loop.performOnMainThread({nullptr, "nodeHungUp", path, [self, path, listed] {
                                          const auto publisher = self.lock();
                                          if (publisher && !listed.expired())
                                              (*publisher)->nodeGone(path);
                                      }});
        };
        service.plugIn =
            plugInOf(HidrawNode{node.seen.devnode, *input, [&loop = runLoop_] { return loop.terminating(); },
                                std::move(gone), openNode_},
                     node.listed, clock_);
    }
    node.listed->service = registry_.publish(std::move(service));
}

void UnitPublisher::withdraw(Unit& unit) {
    if (const io_service_t service = std::exchange(unit.service, 0))
        registry_.withdraw(service);
    for (auto& [path, node] : unit.nodes)
        withdraw(node);
}

void UnitPublisher::withdraw(Node& node) {
    const auto listed = std::exchange(node.listed, nullptr);
    if (!listed)
        return;
    for (const auto& weak : listed->devices)
        if (const auto device = weak.lock())
            device->vanish();
    registry_.withdraw(listed->service);
}

void UnitPublisher::nodeGone(const std::string& path) {
    for (auto& [devicePath, unit] : units_) {
        const auto found = unit.nodes.find(path);
        if (found == unit.nodes.end())
            continue;
        if (isPenNode(found->second.seen))
            withdraw(unit);
        else
            withdraw(found->second);
        unit.nodes.erase(found);
        return;
    }
}

void UnitPublisher::deviceGone(const std::string& path) {
    if (const auto found = units_.find(path); found != units_.end()) {
        withdraw(found->second);
        units_.erase(found);
    }
}

} // namespace lightpen
