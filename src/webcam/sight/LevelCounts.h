// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>

namespace lightpen::webcam {

// How many there are of each grey level.
using LevelCounts = std::array<int, 256>;

// The brightest level that remains when so many of the brightest are left out; 0 when none remain.
inline int brightestBut(const LevelCounts& counts, int leftOut) {
    int level = static_cast<int>(counts.size()) - 1;
    while (level > 0 && counts[static_cast<std::size_t>(level)] <= leftOut)
        leftOut -= counts[static_cast<std::size_t>(level--)];
    return level;
}

} // namespace lightpen::webcam
