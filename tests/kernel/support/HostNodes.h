// SPDX-License-Identifier: MIT
// The machine's hidraw nodes as sysfs shows them: what the kernel's host side made of a plugged-in unit.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux_desktop/hid/HidrawDevice.h"
#include "platform/Time.h"
#include "platform/UnitIdentifiers.h"

namespace lightpen::test {

struct HostNode {
    std::string devnode; // "/dev/hidraw3"
    int interfaceNumber = -1;
    std::int32_t vendorID = 0;
    std::int32_t productID = 0;
    std::string manufacturer;
    std::vector<std::uint8_t> descriptor;
};

// All hidraw nodes of USB devices, in the order of their interface numbers.
std::vector<HostNode> hostNodes();

// The pen's node of a camera unit, of this product where one is named; empty when there is none.
std::string penNode(std::optional<std::int32_t> productID = std::nullopt);

// Waits until there are so many hidraw nodes; what there is then.
std::vector<HostNode> waitForNodes(std::size_t count);

// The platform's device on the node of this interface, its report lengths as declared there; null when there
// is no such node, or its descriptor cannot be read. The clock outlives it.
std::unique_ptr<HidrawDevice> deviceOf(const std::vector<HostNode>& nodes, int interfaceNumber, Clock& clock);

} // namespace lightpen::test
