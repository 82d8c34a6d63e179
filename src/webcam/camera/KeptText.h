// SPDX-License-Identifier: MIT
// What the files have in common that are kept for each camera.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace lightpen::webcam {

// No file is read further than this, in bytes.
inline constexpr std::size_t kLongestKeptText = 4096;

// The text as a part of a file's name, no longer than so many bytes: all but letters, digits, ".", "-" and
// "_" becomes "_". Any thread.
inline std::string plainName(std::string_view text, std::size_t most) {
    const auto isPlain = [](char letter) {
        return (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
               (letter >= 'a' && letter <= 'z') || letter == '.' || letter == '-' || letter == '_';
    };
    std::string name(text.substr(0, most));
    std::ranges::replace_if(
        name, [&](char letter) { return !isPlain(letter); }, '_');
    return name;
}

// Takes a decimal number and the letter that ends it, as in "12 ", from the front of the text. False, and the
// text stays, when it begins otherwise or the number is out of its type's range.
template <class Number>
bool takeNumber(std::string_view& text, char ending, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto length = static_cast<std::size_t>(end - text.data());
    if (error != std::errc() || length >= text.size() || text[length] != ending)
        return false;
    text.remove_prefix(length + 1);
    return true;
}

} // namespace lightpen::webcam
