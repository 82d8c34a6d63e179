// SPDX-License-Identifier: MIT
#include "platform/Geometry.h"

#include <charconv>

namespace lightpen {

namespace {

// Takes one number from the front of the text.
bool takeNumber(std::string_view& text, double& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc())
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

bool takeText(std::string_view& text, std::string_view expected) {
    if (!text.starts_with(expected))
        return false;
    text.remove_prefix(expected.size());
    return true;
}

} // namespace

PointText::PointText(double x, double y) {
    char* const end = text_ + sizeof text_;
    char* next = text_;
    *next++ = '{';
    next = std::to_chars(next, end, x).ptr;
    *next++ = ',';
    *next++ = ' ';
    next = std::to_chars(next, end, y).ptr;
    *next++ = '}';
    *next = '\0';
}

bool pairFromString(std::string_view text, double& x, double& y) {
    double readX = 0;
    double readY = 0;
    if (!takeText(text, "{") || !takeNumber(text, readX) || !takeText(text, ", ") ||
        !takeNumber(text, readY) || text != "}")
        return false;
    x = readX;
    y = readY;
    return true;
}

} // namespace lightpen
