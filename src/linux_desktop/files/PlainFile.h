// SPDX-License-Identifier: MIT
// Small files that are read and replaced whole. Any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace lightpen {

// What a symbolic link at the file's own name counts as.
enum class Links { followed, refused };

// The first bytes of a plain file, at most this many. None, with errno set, when it cannot be read or is no
// plain file (EISDIR, EINVAL); a pipe or a device of that name does not hold its reader up.
std::optional<std::string> readPlainFile(const std::string& path, std::size_t limit,
                                         Links links = Links::followed);

// Makes these bytes the file's contents, durably and in one step, and makes its folder if need be. False, and
// a log line, when the file stays as it was.
bool replacePlainFile(const std::string& path, std::string_view bytes);

// Makes the folder of the file and those above it; only the user may enter them. False, and a log line, when
// one cannot be made.
bool makeFolderOf(const std::string& path);

// Makes a new name in the file's folder outlive a loss of power. A log line when that fails.
void keepNameOf(const std::string& path);

} // namespace lightpen
