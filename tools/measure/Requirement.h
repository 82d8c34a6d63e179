// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

namespace lightpen {

// Throws std::runtime_error with this text unless the condition holds.
inline void require(bool condition, const std::string& problem) {
    if (!condition)
        throw std::runtime_error(problem);
}
// The same for an operation that returns what went wrong: throws that unless it is empty.
inline void requireNone(const std::string& problem) {
    require(problem.empty(), problem);
}

} // namespace lightpen
