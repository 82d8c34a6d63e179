// SPDX-License-Identifier: MIT
#include "kernel/support/HostNodes.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <variant>

#include "kit/Eventually.h"
#include "linux_desktop/hid/HidDescriptor.h"

namespace lightpen::test {

namespace {

namespace fs = std::filesystem;

// Empty for a file of a device that has just gone, which can still be opened but not be read.
std::string contentOf(const fs::path& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

std::string lineOf(const fs::path& path) {
    std::string text = contentOf(path);
    return text.substr(0, text.find('\n'));
}

std::int32_t hexadecimalOf(const fs::path& path) {
    return static_cast<std::int32_t>(std::strtol(lineOf(path).c_str(), nullptr, 16));
}

} // namespace

std::vector<HostNode> hostNodes() {
    std::vector<HostNode> nodes;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/sys/class/hidraw", error)) {
        const fs::path hid = fs::canonical(entry.path() / "device", error);
        const fs::path interface = hid.parent_path();
        const fs::path device = interface.parent_path();
        if (error || !fs::exists(interface / "bInterfaceNumber", error))
            continue;
        const std::string descriptor = contentOf(hid / "report_descriptor");
        nodes.push_back({"/dev/" + entry.path().filename().string(),
                         hexadecimalOf(interface / "bInterfaceNumber"),
                         hexadecimalOf(device / "idVendor"),
                         hexadecimalOf(device / "idProduct"),
                         lineOf(device / "manufacturer"),
                         {descriptor.begin(), descriptor.end()}});
    }
    std::sort(nodes.begin(), nodes.end(), [](const HostNode& left, const HostNode& right) {
        return left.interfaceNumber < right.interfaceNumber;
    });
    return nodes;
}

std::string penNode(std::optional<std::int32_t> productID) {
    for (const HostNode& node : hostNodes())
        if (node.interfaceNumber == kUnitPenInterfaceNumber &&
            node.productID == productID.value_or(node.productID))
            return node.devnode;
    return {};
}

std::vector<HostNode> waitForNodes(std::size_t count) {
    std::vector<HostNode> nodes;
    const auto there = [&] {
        nodes = hostNodes();
        return nodes.size() == count;
    };
    // Each look reads many files of the kernel's.
    eventually(there, [] { std::this_thread::sleep_for(std::chrono::milliseconds(10)); });
    return nodes;
}

std::unique_ptr<HidrawDevice> deviceOf(const std::vector<HostNode>& nodes, int interfaceNumber,
                                       Clock& clock) {
    const auto node = std::find_if(nodes.begin(), nodes.end(), [&](const HostNode& candidate) {
        return candidate.interfaceNumber == interfaceNumber;
    });
    if (node == nodes.end())
        return nullptr;
    const auto parsed = parseHidDescriptor(node->descriptor);
    const auto* descriptor = std::get_if<HidDescriptor>(&parsed);
    if (!descriptor || descriptor->inputReports.empty())
        return nullptr;
    return std::make_unique<HidrawDevice>(HidrawNode{node->devnode, descriptor->inputReports.front()}, clock);
}

} // namespace lightpen::test
