// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace lightpen {

// In units of a capital's height: x from the letter's left edge, y down from the capitals' top; 1 is the base
// line.
struct GlyphPoint {
    double x = 0;
    double y = 0;
};

// The way of the pen between touching and lifting.
using GlyphStroke = std::vector<GlyphPoint>;

// A letter; without strokes it is a gap.
struct Glyph {
    std::vector<GlyphStroke> strokes;
    double advance = 0.5; // to the left edge of the next letter
};

// A letter of the single-stroke font; a gap for a character that it lacks. It has the letters of "LightPen".
Glyph glyphOf(char letter);

} // namespace lightpen
