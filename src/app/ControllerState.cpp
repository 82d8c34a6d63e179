// SPDX-License-Identifier: MIT
#include "app/ControllerState.h"

namespace lightpen {

ControllerState controllerState;

} // namespace lightpen
