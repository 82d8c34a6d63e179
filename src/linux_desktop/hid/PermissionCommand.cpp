// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/PermissionCommand.h"

#include <array>
#include <cstdio>

#include "platform/UnitIdentifiers.h"

namespace lightpen {

// The rule file's name is not that of the packaged one, which it would otherwise replace. Its number must be
// below 73, where "uaccess" is looked at. A USB interface's own description names its unit too, and ends with
// its number, so that one rule is enough for the pen's interface alone.
std::string commandForPermission(const UsbIdentifier& unit) {
    const auto vendor = static_cast<unsigned>(unit.vendorID);
    const auto product = static_cast<unsigned>(unit.productID);
    std::array<char, 400> text{};
    std::snprintf(text.data(), text.size(),
                  R"(echo 'SUBSYSTEM=="hidraw", ATTRS{modalias}=="usb:v%04Xp%04X*in%02X", TAG+="uaccess"')"
                  " | sudo tee /etc/udev/rules.d/70-lightpen-%04x-%04x.rules"
                  " && sudo udevadm control --reload && sudo udevadm trigger --subsystem-match=hidraw",
                  vendor, product, static_cast<unsigned>(kUnitPenInterfaceNumber), vendor, product);
    return text.data();
}

} // namespace lightpen
