// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "platform/UsbIdentifier.h"

namespace lightpen {

// One line for a terminal that lets the user who sits at the machine open the pen's interface of units of
// this kind, now and from now on: a udev rule of the administrator's own, which is applied to what is plugged
// in. It asks for the password by sudo.
std::string commandForPermission(const UsbIdentifier& unit);

} // namespace lightpen
