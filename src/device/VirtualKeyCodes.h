// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include <Qt>

namespace lightpen {

// The key codes that the system acts on, whatever keyboard they come from.
inline constexpr std::uint16_t kVirtualKeyZ = 6;
inline constexpr std::uint16_t kVirtualKeyC = 8;
inline constexpr std::uint16_t kVirtualKeyDelete = 51;
inline constexpr std::uint16_t kVirtualKeyEscape = 53;
// Every other key.
inline constexpr std::uint16_t kNoVirtualKey = 0xFFFF;

// The code of a key of Qt; the Backspace key counts as Delete. kNoVirtualKey when it has none.
constexpr std::uint16_t virtualKeyCode(int qtKey) {
    switch (qtKey) {
    case Qt::Key_Z:
        return kVirtualKeyZ;
    case Qt::Key_C:
        return kVirtualKeyC;
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
        return kVirtualKeyDelete;
    case Qt::Key_Escape:
        return kVirtualKeyEscape;
    default:
        return kNoVirtualKey;
    }
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
