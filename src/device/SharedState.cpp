// SPDX-License-Identifier: MIT
#include "device/SharedState.h"

namespace lightpen {

SharedState sharedState;

} // namespace lightpen
