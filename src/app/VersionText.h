// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace lightpen {

// The about panel's lines on a unit's versions. Each version is a byte: the high four bits stand before the
// point, the low four behind it. A wireless flag of exactly 1 has the board's line alone.
std::string versionText(int wireless, int boardVersion, int cmosVersion);

} // namespace lightpen
