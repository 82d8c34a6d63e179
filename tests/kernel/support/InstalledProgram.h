// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace lightpen {

// The driver program with all that it reads, where every user may read it, as it is when it is installed: the
// build may lie in root's own folder. Made at the first call, gone at the end of this process. Throws when it
// cannot be made. Any thread.
const std::string& installedProgram();

} // namespace lightpen
