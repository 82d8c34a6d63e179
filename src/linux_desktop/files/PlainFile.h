// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace lightpen {

// What a symbolic link at the file's own name counts as.
enum class Links { followed, refused };

// The bytes of a file. None, with errno set, when it cannot be read, is larger than the limit (EFBIG), or is
// no plain file (EINVAL); a pipe or a device of that name does not hold its reader up. Any thread.
std::optional<std::string> readPlainFile(const std::string& file, std::size_t limit, Links links);

} // namespace lightpen
