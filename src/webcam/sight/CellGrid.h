// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "webcam/sight/GreyView.h"

namespace lightpen::webcam {

// A picture in cells of 16 by 16 pixels: how bright the brightest pixel of each is, and was before. Those at
// the right and the lower edge may have fewer pixels.
class CellGrid {
public:
    static constexpr int kSide = 16;
    // Some of the cells, by columns and rows; right and bottom are the first beyond.
    struct Area {
        int left = 0, top = 0, right = 0, bottom = 0;
    };
    struct Cell {
        int column = 0;
        int row = 0;
    };
    struct Pixel {
        int x = 0;
        int y = 0;
    };

    // Makes cells for pictures of this size, in pixels and positive; all are black, and were.
    void resize(int width, int height);
    int columns() const { return columns_; }
    int rows() const { return rows_; }
    int count() const { return columns_ * rows_; }
    Area whole() const { return {0, 0, columns_, rows_}; }
    // The cells with a pixel at most so far from a place; may be none.
    Area around(double x, double y, double reach) const;

    // Measures the cells of an area; the picture is whole and has the size of the cells.
    void measure(const GreyView& picture, const Area& area);
    // By columns and rows.
    int brightest(int column, int row) const { return now_[index(column, row)]; }
    int before(int column, int row) const { return before_[index(column, row)]; }
    void setBefore(int column, int row, int level) {
        before_[index(column, row)] = static_cast<std::uint8_t>(level);
    }
    // The first pixel that is as bright as the cell's brightest, which has just been measured.
    Pixel brightestPixel(const GreyView& picture, int column, int row) const;

private:
    std::size_t index(int column, int row) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
               static_cast<std::size_t>(column);
    }
    void measureRow(const GreyView& picture, const Area& area, int row);

    int width_ = 0;
    int height_ = 0;
    int columns_ = 0;
    int rows_ = 0;
    std::vector<std::uint8_t> now_;
    std::vector<std::uint8_t> before_;
};

} // namespace lightpen::webcam
