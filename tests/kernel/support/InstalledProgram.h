// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace lightpen {

// The program that was built there, the driver where nothing is said, with all that it reads, where every
// user may read it, as it is when it is installed: the build may lie in root's own folder. Made at the first
// call for it, gone at the end of this process. Throws when it cannot be made. One thread.
const std::string& installedProgram(const std::string& built = LIGHTPEN_PROGRAM);

} // namespace lightpen
