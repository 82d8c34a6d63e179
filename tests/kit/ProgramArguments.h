// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace lightpen {

// The strings as execve wants them, with a null pointer at the end; the strings outlive the result.
inline std::vector<char*> pointersTo(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (std::string& string : strings)
        pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace lightpen
