// SPDX-License-Identifier: MIT
#include "unit/room/LetterFont.h"

#include <gtest/gtest.h>

#include <string_view>

namespace lightpen {
namespace {

TEST(LetterFontTest, EveryLetterStaysInItsCell) {
    for (const char letter : std::string_view("LightPen")) {
        const Glyph glyph = glyphOf(letter);
        EXPECT_FALSE(glyph.strokes.empty()) << letter;
        for (const GlyphStroke& stroke : glyph.strokes) {
            EXPECT_GE(stroke.size(), 2U) << letter;
            for (const GlyphPoint& point : stroke) {
                EXPECT_GE(point.x, -0.001) << letter;
                EXPECT_LE(point.x, glyph.advance) << letter;
                EXPECT_GE(point.y, 0) << letter;
                EXPECT_LE(point.y, 1.3 + 0.001) << letter;
            }
        }
    }
}

TEST(LetterFontTest, OnlyTheGHangsBelowTheBaseLine) {
    for (const char letter : std::string_view("LightPen")) {
        double lowest = 0;
        for (const GlyphStroke& stroke : glyphOf(letter).strokes)
            for (const GlyphPoint& point : stroke)
                lowest = std::max(lowest, point.y);
        EXPECT_NEAR(letter == 'g' ? 1.3 : 1.0, lowest, 0.02) << letter;
    }
}

} // namespace
} // namespace lightpen
