// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace lightpen {

// How many threads this program has now.
inline std::ptrdiff_t threadCount() {
    const auto tasks = std::filesystem::directory_iterator("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

} // namespace lightpen
