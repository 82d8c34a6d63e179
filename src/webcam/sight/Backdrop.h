// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "webcam/sight/CellGrid.h"
#include "webcam/sight/GreyView.h"
#include "webcam/sight/Spot.h"

namespace lightpen::webcam {

// What the camera sees behind the pen, pixel by pixel, so that it can be taken off a picture. At the edge of
// a slide's letter the pen's light would seem to lie more on the brighter side, and on a bright letter the
// whole letter would seem to be the pen's light. A pen that was taken for a part of it, as one that touches
// from the start, seems to be a pixel or two ahead until it has left its place.
//
// Pictures are whole and of the backdrop's size; pixels and areas lie in them. Not for several threads at
// once.
class Backdrop {
public:
    // A part of a picture without the backdrop. Valid until the next one is made.
    struct Part {
        GreyView view;
        int left = 0; // the picture's pixel that is the upper left one
        int top = 0;
        CellGrid::Pixel brightest; // of the view, near the pixel that was asked for
        int height = 0;            // grey levels that this one is above the backdrop
    };
    // The brightest pixel of a part is at most so many pixels to each side of the one that was asked for:
    // where many pixels of a picture are white, each may be the brightest without the backdrop.
    static constexpr int kMoved = CellGrid::kSide / 2;

    // For pictures of this size, in pixels and positive. It is black.
    void resize(int width, int height);

    // Takes over an area of a picture but for some cells and their neighbours. The cells are those that may
    // show the pen, sorted by their rows.
    void learn(const GreyView& picture, const CellGrid::Area& area, std::span<const CellGrid::Cell> except);
    // The same but for the surroundings of the pen's spot.
    void learnAround(const GreyView& picture, const CellGrid::Area& area, const Spot& spot);
    // Where nothing is known of what is behind the pen's light, whose middle is about here: takes a square
    // that reaches so far, at least 0 pixels, to be as bright as the brightest things on its edge. Returns
    // that level; it is black where no pixel of the edge lies in the picture.
    int guess(const GreyView& picture, CellGrid::Pixel middle, int reach);

    // Whether the edge of that square still shows the backdrop. Without a pixel in the picture it does.
    bool isBehind(const GreyView& picture, CellGrid::Pixel middle, int reach) const;
    // All that is so near to a pixel, at least 0, without the backdrop. The sensor has little room left for
    // the pen's light where the backdrop is bright. All of the part is cut to the room that there is around
    // the pixel, unless that is next to nothing: otherwise the light would seem to lie on the darker side.
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
    int brightestIn(const Box& box) const;

    int width_ = 0;
    int height_ = 0;
    std::vector<std::uint8_t> levels_;
    std::vector<std::uint8_t> part_;
    std::vector<bool> kept_; // of a row of cells, by their columns: which are not taken over
};

} // namespace lightpen::webcam
