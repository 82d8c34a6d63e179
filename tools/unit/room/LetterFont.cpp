// SPDX-License-Identifier: MIT
#include "unit/room/LetterFont.h"

#include <cmath>
#include <numbers>

namespace lightpen {

namespace {

constexpr double kSmallTop = 0.45; // of small letters without ascender
constexpr double kBase = 1.0;
constexpr double kBelow = 1.3;
constexpr double kRound = (kBase - kSmallTop) / 2; // radius of a round small letter
constexpr double kMiddle = kSmallTop + kRound;

// An arc around a centre, angles in degrees clockwise from three o'clock, as seen on a screen.
void arc(GlyphStroke& stroke, GlyphPoint centre, double radius, double from, double to) {
    constexpr double kStep = 15;
    const int steps = static_cast<int>(std::ceil(std::abs(to - from) / kStep));
    for (int step = 0; step <= steps; ++step) {
        const double angle = (from + (to - from) * step / steps) * std::numbers::pi / 180;
        stroke.push_back({centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)});
    }
}

// Up and over from the stem at the left, then down to the base line.
GlyphStroke archFromStem(double top) {
    GlyphStroke stroke{{0, top}, {0, kBase}, {0, kMiddle}};
    arc(stroke, {0.2, kMiddle}, 0.2, -180, 0);
    stroke.push_back({0.4, kBase});
    return stroke;
}

Glyph letterE() {
    GlyphStroke stroke{{0, kMiddle}, {2 * kRound, kMiddle}};
    arc(stroke, {kRound, kMiddle}, kRound, 0, -315);
    return {{stroke}, 0.75};
}

Glyph letterG() {
    GlyphStroke stroke;
    arc(stroke, {kRound, kMiddle}, kRound, 0, -360);
    stroke.push_back({2 * kRound, kBelow - kRound});
    arc(stroke, {kRound, kBelow - kRound}, kRound, 0, 150);
    return {{stroke}, 0.75};
}

Glyph letterP() {
    GlyphStroke stroke{{0, 1}, {0, 0}, {0.25, 0}};
    arc(stroke, {0.25, 0.27}, 0.27, -90, 90);
    stroke.push_back({0, 0.54});
    return {{stroke}, 0.7};
}

} // namespace

Glyph glyphOf(char letter) {
    switch (letter) {
    case 'L':
        return {{{{0, 0}, {0, 1}, {0.5, 1}}}, 0.7};
    case 'P':
        return letterP();
    case 'e':
        return letterE();
    case 'g':
        return letterG();
    case 'h':
        return {{archFromStem(0)}, 0.6};
    case 'i':
        return {{{{0.05, kSmallTop}, {0.05, kBase}}, {{0.05, 0.2}, {0.05, 0.26}}}, 0.3};
    case 'n':
        return {{archFromStem(kSmallTop)}, 0.6};
    case 't':
        return {{{{0.2, 0.1}, {0.2, kBase}, {0.4, kBase}}, {{0, kSmallTop}, {0.4, kSmallTop}}}, 0.55};
    default:
        return {};
    }
}

} // namespace lightpen
