// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UnitReadiness.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/UnitIdentifiers.h"

namespace lightpen {

namespace {

bool hasUnnumberedInput(const HidDescriptor& descriptor) {
    return descriptor.inputReport(0) != nullptr;
}

std::string noPermission(const HidNode& node) {
    return "HID: no permission to open the camera unit's " + node.devnode +
           ": install 70-lightpen-nx7.rules in /etc/udev/rules.d, then unplug the unit and plug it in again";
}

} // namespace

bool isCameraUnit(const UsbDevice& device) {
    return device.vendorID == kUnitVendorID &&
           (device.productID == kUnitFirstProductID || device.productID == kUnitSecondProductID);
}

bool isPenNode(const HidNode& node) {
    return isCameraUnit(node.device) && node.interfaceNumber == kUnitPenInterfaceNumber;
}

UnitDecisions UnitReadiness::nodeSeen(const HidNode& seen, std::optional<int> openError) {
    UnitDecisions decisions;
    if (!isCameraUnit(seen.device) || seen.devnode.empty())
        return decisions;
    Unit& unit = units_[seen.device.path];
    if (!unit.listed)
        unit.device = seen.device;
    const auto [found, isNew] = unit.nodes.try_emplace(seen.path);
    Node& node = found->second;
    if (node.listed)
        return decisions;
    const bool newDescriptor = isNew || node.seen.descriptor != seen.descriptor;
    node.seen = seen;
    if (newDescriptor)
        readDescriptor(node, decisions);
    node.openable = openError == 0;
    if (isPenNode(seen) && seen.initialised && openError.value_or(0) != 0)
        judgeOpening(unit, seen, *openError, decisions);
    publishReadyNodes(unit, decisions);
    return decisions;
}

void UnitReadiness::readDescriptor(Node& node, UnitDecisions& decisions) {
    node.descriptor.reset();
    auto result = parseHidDescriptor(node.seen.descriptor);
    const std::string name = "HID: " + node.seen.devnode + ": ";
    if (const auto* error = std::get_if<HidDescriptorError>(&result))
        decisions.messages.push_back(name + error->text);
    else if (isPenNode(node.seen) && !hasUnnumberedInput(std::get<HidDescriptor>(result)))
        decisions.messages.push_back(name + "the report descriptor has no input report without an ID");
    else
        node.descriptor = std::get<HidDescriptor>(std::move(result));
}

void UnitReadiness::judgeOpening(Unit& unit, const HidNode& node, int error, UnitDecisions& decisions) {
    // A node that is on its way out is soon reported gone.
    const bool leaving = error == ENOENT || error == ENODEV || error == ENXIO || error == EIO;
    if (leaving || std::exchange(unit.complained, true))
        return;
    if (error == EACCES || error == EPERM)
        decisions.messages.push_back(noPermission(node));
    else
        decisions.messages.push_back("HID: the camera unit's " + node.devnode +
                                     " cannot be opened: " + std::generic_category().message(error));
}

void UnitReadiness::publishReadyNodes(Unit& unit, UnitDecisions& decisions) {
    const auto usable = [](const Node& node) { return node.seen.initialised && node.descriptor; };
    const bool ready = std::any_of(unit.nodes.begin(), unit.nodes.end(), [&](const auto& entry) {
        return isPenNode(entry.second.seen) && usable(entry.second) && entry.second.openable;
    });
    if (!ready)
        return;
    std::vector<Node*> fresh;
    for (auto& [path, node] : unit.nodes)
        if (!node.listed && usable(node) && (node.openable || !isPenNode(node.seen)))
            fresh.push_back(&node);
    std::stable_sort(fresh.begin(), fresh.end(), [](const Node* left, const Node* right) {
        return left->seen.interfaceNumber > right->seen.interfaceNumber;
    });
    for (Node* node : fresh) {
        node->listed = true;
        decisions.publishedHid.push_back({node->seen, *node->descriptor});
    }
    if (!std::exchange(unit.listed, true))
        decisions.publishedUnits.push_back(unit.device);
}

void UnitReadiness::withdraw(Unit& unit, UnitDecisions& decisions) {
    if (std::exchange(unit.listed, false))
        decisions.withdrawn.push_back(unit.device.path);
    for (auto& [path, node] : unit.nodes)
        if (std::exchange(node.listed, false))
            decisions.withdrawn.push_back(path);
}

UnitDecisions UnitReadiness::nodeGone(const std::string& path) {
    UnitDecisions decisions;
    for (auto& [devicePath, unit] : units_) {
        const auto found = unit.nodes.find(path);
        if (found == unit.nodes.end())
            continue;
        if (isPenNode(found->second.seen))
            withdraw(unit, decisions);
        else if (found->second.listed)
            decisions.withdrawn.push_back(path);
        unit.nodes.erase(found);
        break;
    }
    return decisions;
}

UnitDecisions UnitReadiness::deviceGone(const std::string& path) {
    UnitDecisions decisions;
    if (const auto found = units_.find(path); found != units_.end()) {
        withdraw(found->second, decisions);
        units_.erase(found);
    }
    return decisions;
}

bool UnitReadiness::listed(const std::string& nodePath) const {
    return std::any_of(units_.begin(), units_.end(), [&](const auto& entry) {
        const auto found = entry.second.nodes.find(nodePath);
        return found != entry.second.nodes.end() && found->second.listed;
    });
}

std::vector<std::string> UnitReadiness::knownNodes() const {
    std::vector<std::string> paths;
    for (const auto& [devicePath, unit] : units_)
        for (const auto& [path, node] : unit.nodes)
            paths.push_back(path);
    return paths;
}

} // namespace lightpen
