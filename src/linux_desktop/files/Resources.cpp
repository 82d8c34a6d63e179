// SPDX-License-Identifier: MIT
#include "linux_desktop/files/Resources.h"

#include <system_error>

namespace lightpen {

std::filesystem::path resourceFolder() {
    std::error_code unknown;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
    return unknown ? std::filesystem::path() : program.parent_path() / "resources";
}

} // namespace lightpen
