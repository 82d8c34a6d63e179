// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "measure/Analysis.h"

namespace lightpen {

// What the demo measured, as lines of text for a terminal.
std::string tableOf(const DemoRecord& record);

} // namespace lightpen
