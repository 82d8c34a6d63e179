// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/PermissionCommand.h"

#include <array>
#include <cstdio>

namespace lightpen {

// The rule file's name is not that of the packaged one, which it would otherwise replace. Its number must be
// below 73, where "uaccess" is looked at.
std::string commandForPermission(const UsbIdentifier& unit) {
    std::array<char, 400> text{};
    std::snprintf(text.data(), text.size(),
                  R"(echo 'SUBSYSTEM=="hidraw", ATTRS{idVendor}=="%04x", ATTRS{idProduct}=="%04x", )"
                  R"(TAG+="uaccess"' | sudo tee /etc/udev/rules.d/70-lightpen-%04x-%04x.rules)"
                  " && sudo udevadm control --reload && sudo udevadm trigger --subsystem-match=hidraw",
                  static_cast<unsigned>(unit.vendorID), static_cast<unsigned>(unit.productID),
                  static_cast<unsigned>(unit.vendorID), static_cast<unsigned>(unit.productID));
    return text.data();
}

} // namespace lightpen
