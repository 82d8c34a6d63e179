// SPDX-License-Identifier: MIT
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace lightpen {

// How a kind of USB device is known: by the number of its vendor and the vendor's number for it.
struct UsbIdentifier {
    std::int32_t vendorID = 0;
    std::int32_t productID = 0;
    friend bool operator==(const UsbIdentifier&, const UsbIdentifier&) = default;
};

// For a user who has given the option "--device" something else.
inline constexpr const char* kDeviceProblem =
    "--device takes two hexadecimal numbers with a colon between them, as in 1209:0001.";

// The identifier that is written "1209:0001", each number with one to four hexadecimal digits; none for
// anything else.
inline std::optional<UsbIdentifier> usbIdentifierNamed(std::string_view text) {
    const auto number = [](std::string_view digits) -> std::optional<std::int32_t> {
        std::uint16_t value = 0;
        const char* const end = digits.data() + digits.size();
        const auto [stop, problem] = std::from_chars(digits.data(), end, value, 16);
        if (problem != std::errc() || stop != end || digits.size() > 4)
            return std::nullopt;
        return value;
    };
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    const auto vendor = number(text.substr(0, colon)), product = number(text.substr(colon + 1));
    return vendor && product ? std::optional(UsbIdentifier{*vendor, *product}) : std::nullopt;
}

} // namespace lightpen
