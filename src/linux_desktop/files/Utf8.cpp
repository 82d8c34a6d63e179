// SPDX-License-Identifier: MIT
#include "linux_desktop/files/Utf8.h"

#include <cstddef>

namespace lightpen {

namespace {

// How many bytes the first character has; 0 when it is none of UTF-8's.
std::size_t characterLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (byte(0) < 0x80)
        return 1;
    const std::size_t length = byte(0) < 0xC2 ? 0 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    if (length == 0 || byte(0) > 0xF4 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    const bool overlong = (byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xF0 && byte(1) < 0x90);
    const bool none = (byte(0) == 0xED && byte(1) > 0x9F) || (byte(0) == 0xF4 && byte(1) > 0x8F);
    return overlong || none ? 0 : length;
}

} // namespace

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

} // namespace lightpen
