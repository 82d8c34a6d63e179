// SPDX-License-Identifier: MIT
#include "app/VersionText.h"

#include <array>
#include <cstdio>

namespace lightpen {

namespace {

constexpr unsigned kNibble = 0xF;

int high(int version) {
    return static_cast<int>((static_cast<unsigned>(version) >> 4U) & kNibble);
}

int low(int version) {
    return static_cast<int>(static_cast<unsigned>(version) & kNibble);
}

} // namespace

std::string versionText(int wireless, int boardVersion, int cmosVersion) {
    std::array<char, 96> text{};
    if (wireless == 1)
        std::snprintf(text.data(), text.size(), "Main Board version %d.%d\n", high(boardVersion),
                      low(boardVersion));
    else
        std::snprintf(text.data(), text.size(), "Dongle version %d.%d\n\n  CMOS version %d.%d\n",
                      high(boardVersion), low(boardVersion), high(cmosVersion), low(cmosVersion));
    return text.data();
}

} // namespace lightpen
