// SPDX-License-Identifier: MIT
#include "webcam/sight/CellGrid.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "kit/sight/DrawnPicture.h"

namespace lightpen::webcam {
namespace {

int brightestOf(const GreyView& picture, int column, int row) {
    int level = 0;
    for (int y = row * 16; y < std::min(row * 16 + 16, picture.height); ++y)
        for (int x = column * 16; x < std::min(column * 16 + 16, picture.width); ++x)
            level = std::max(level, int{picture.row(y)[x]});
    return level;
}

TEST(CellGridTest, MeasuresTheBrightestPixelOfEachCell) {
    std::mt19937 random(4);
    for (const auto& [width, height] :
         {std::pair{1, 1}, {16, 16}, {17, 33}, {64, 48}, {131, 70}, {200, 15}}) {
        DrawnPicture picture(width, height, 0, 3);
        for (int i = 0; i < width * height / 200 + 1; ++i)
            picture.rectangle(static_cast<int>(random() % static_cast<unsigned>(width)),
                              static_cast<int>(random() % static_cast<unsigned>(height)), 1, 1,
                              static_cast<int>(random() % 256));
        CellGrid cells;
        cells.resize(width, height);
        cells.measure(picture.view(), cells.whole());
        ASSERT_EQ(cells.columns(), (width + 15) / 16);
        ASSERT_EQ(cells.rows(), (height + 15) / 16);
        for (int row = 0; row < cells.rows(); ++row)
            for (int column = 0; column < cells.columns(); ++column) {
                ASSERT_EQ(cells.brightest(column, row), brightestOf(picture.view(), column, row))
                    << width << " " << column << " " << row;
                const CellGrid::Pixel pixel = cells.brightestPixel(picture.view(), column, row);
                EXPECT_EQ(picture.view().row(pixel.y)[pixel.x], cells.brightest(column, row));
                EXPECT_EQ(pixel.x / 16, column);
                EXPECT_EQ(pixel.y / 16, row);
            }
    }
}

TEST(CellGridTest, MeasuresNothingBeyondTheArea) {
    const DrawnPicture picture(160, 96, 50);
    CellGrid cells;
    cells.resize(160, 96);
    cells.measure(picture.view(), {2, 1, 9, 3});
    for (int row = 0; row < cells.rows(); ++row)
        for (int column = 0; column < cells.columns(); ++column)
            EXPECT_EQ(cells.brightest(column, row),
                      column >= 2 && column < 9 && row >= 1 && row < 3 ? 50 : 0);
}

TEST(CellGridTest, AnAreaAroundAPlaceHasTheCellsWithinReach) {
    CellGrid cells;
    cells.resize(160, 96);
    const auto expect = [&](const CellGrid::Area& area, int left, int top, int right, int bottom) {
        EXPECT_EQ(area.left, left);
        EXPECT_EQ(area.top, top);
        EXPECT_EQ(area.right, right);
        EXPECT_EQ(area.bottom, bottom);
    };
    expect(cells.around(40, 40, 0), 2, 2, 3, 3);
    expect(cells.around(40, 40, 9), 1, 1, 4, 4);
    expect(cells.around(0, 95, 20), 0, 4, 2, 6);
    const CellGrid::Area beyond = cells.around(-500, 40, 20);
    EXPECT_GE(beyond.left, beyond.right);
    const CellGrid::Area below = cells.around(40, 1e9, 20);
    EXPECT_GE(below.top, below.bottom);
}

} // namespace
} // namespace lightpen::webcam
