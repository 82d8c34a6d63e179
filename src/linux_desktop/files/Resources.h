// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace lightpen {

// The folder "resources" beside the program's own file, wherever that was put; empty when the system does not
// say where that is. Any thread.
std::filesystem::path resourceFolder();

} // namespace lightpen
