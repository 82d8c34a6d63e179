// SPDX-License-Identifier: MIT
#pragma once

namespace lightpen {

// A colour, each part 0 to 1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    friend bool operator==(const Color&, const Color&) = default;
};

inline constexpr Color kClearColor{0, 0, 0, 0};
inline constexpr Color kBlackColor{0, 0, 0, 1};
inline constexpr Color kWhiteColor{1, 1, 1, 1};
inline constexpr Color kGreenColor{0, 1, 0, 1};

} // namespace lightpen
