// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace lightpen {

// Whether the bytes are UTF-8: whole characters, each in its shortest form, no surrogates. Any thread.
bool isUtf8(std::string_view text);

} // namespace lightpen
