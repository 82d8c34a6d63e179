// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "webcam/sight/CellGrid.h"
#include "webcam/sight/GreyView.h"
#include "webcam/sight/Spot.h"

namespace lightpen::webcam {

// What the camera sees behind the pen, pixel by pixel, so that it can be taken off a picture. At the edge of
// a slide's letter the pen's light would seem to lie more on the brighter side, and on a bright letter the
// whole letter would seem to be the pen's light.
//
// Pictures are whole and of the backdrop's size, and pixels and areas lie in them. Not for several threads at
// once.
class Backdrop {
public:
    // A part of a picture with the backdrop taken off, and the picture's pixel that is its upper left one.
    // Valid until the next one is made.
    struct Part {
        GreyView view;
        int left = 0;
        int top = 0;
    };

    // For pictures of this size, in pixels and positive. It is black.
    void resize(int width, int height);

    // Takes over an area of a picture but for some cells and their neighbours. The cells are those that may
    // show the pen, row by row from the top.
    void learn(const GreyView& picture, const CellGrid::Area& area, std::span<const CellGrid::Cell> except);
    // The same but for the surroundings of the pen's spot.
    void learnAround(const GreyView& picture, const CellGrid::Area& area, const Spot& spot);
    // Where nothing is known of what is behind the pen's light, whose middle is about here: takes it to be as
    // bright as the brightest things on the edge of a square that reaches so far.
    void guess(const GreyView& picture, CellGrid::Pixel middle, int reach);

    // Whether the edge of that square still shows the backdrop.
    bool isBehind(const GreyView& picture, CellGrid::Pixel middle, int reach) const;
    // All that is so near to a pixel, without the backdrop. The sensor shows less of the pen's light where
    // the backdrop is bright; no more than that is left of it elsewhere, or it would seem to lie there.
    Part takenOff(const GreyView& picture, CellGrid::Pixel middle, int reach);

private:
    // Columns and rows of pixels, [left, right) x [top, bottom).
    struct Box {
        int left = 0, top = 0, right = 0, bottom = 0;
    };

    std::uint8_t* row(int y) { return levels_.data() + static_cast<std::ptrdiff_t>(y) * width_; }
    const std::uint8_t* row(int y) const { return levels_.data() + static_cast<std::ptrdiff_t>(y) * width_; }
    Box pixelsOf(const CellGrid::Area& area) const;
    Box near(CellGrid::Pixel middle, int reach) const;
    void copy(const GreyView& picture, const Box& box);
    void markKept(const CellGrid::Area& area, int cellRow, std::span<const CellGrid::Cell> except);
    int roomAbove(const Box& box) const;

    int width_ = 0;
    int height_ = 0;
    std::vector<std::uint8_t> levels_;
    std::vector<std::uint8_t> part_;
    std::vector<bool> kept_; // of a row of cells, those that are not taken over
};

} // namespace lightpen::webcam
