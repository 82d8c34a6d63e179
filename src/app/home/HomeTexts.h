// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string_view>

#include <QString>

namespace lightpen {

// The text of a key in the language that is in force; null where the language has no such text.
using HomeTexts = std::function<QString(std::string_view key)>;

} // namespace lightpen
