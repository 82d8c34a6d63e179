// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace lightpen {

// The key codes that the system acts on, whatever keyboard they come from.
inline constexpr std::uint16_t kVirtualKeyZ = 6;
inline constexpr std::uint16_t kVirtualKeyC = 8;
inline constexpr std::uint16_t kVirtualKeyDelete = 51;
inline constexpr std::uint16_t kVirtualKeyEscape = 53;
// Every other key.
inline constexpr std::uint16_t kNoVirtualKey = 0xFFFF;

// The keys of Qt (Qt::Key) that have a code; the Backspace key counts as Delete.
struct VirtualKey {
    int qtKey;
    std::uint16_t code;
};
inline constexpr VirtualKey kVirtualKeys[] = {{0x5A, kVirtualKeyZ},
                                              {0x43, kVirtualKeyC},
                                              {0x01000003, kVirtualKeyDelete},
                                              {0x01000007, kVirtualKeyDelete},
                                              {0x01000000, kVirtualKeyEscape}};

// The code of a key of Qt; kNoVirtualKey when it has none.
constexpr std::uint16_t virtualKeyCode(int qtKey) {
    for (const auto& [key, code] : kVirtualKeys)
        if (key == qtKey)
            return code;
    return kNoVirtualKey;
}

// The code of the key at a place of the keyboard, as X11 and Wayland number places, for layouts without Latin
// letters; kNoVirtualKey when it has none.
constexpr std::uint16_t virtualKeyCodeAtPlace(std::uint32_t scanCode) {
    switch (scanCode) {
    case 52:
        return kVirtualKeyZ;
    case 54:
        return kVirtualKeyC;
    default:
        return kNoVirtualKey;
    }
}

} // namespace lightpen
