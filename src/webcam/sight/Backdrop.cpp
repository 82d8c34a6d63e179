// SPDX-License-Identifier: MIT
#include "webcam/sight/Backdrop.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace lightpen::webcam {

namespace {

constexpr int kWhite = 255;
// Noise, and the rings of a compression, differ by less from one picture to the next.
constexpr int kSame = 16;
// One part of this many of a square's edge may have become different, as by something small that is new.
constexpr int kNewPart = 16;
// The pen's light reaches so many of its spot's sizes from its middle, and a little further.
constexpr double kHalo = 2;
constexpr int kLittle = 3;
// Where the backdrop leaves less room for the pen's light than this, nothing is gained by keeping to it.
constexpr int kLeastRoom = 48;

// Bytes that are taken together. Compilers do this by themselves at some levels of optimisation only.
constexpr int kTogether = 16;
using Levels [[gnu::vector_size(kTogether)]] = std::uint8_t;

void takeOff(const std::uint8_t* picture, const std::uint8_t* behind, int count, std::uint8_t most,
             std::uint8_t* rest) {
    int i = 0;
    for (; i + kTogether <= count; i += kTogether) {
        Levels now;
        Levels before;
        std::memcpy(&now, picture + i, sizeof now);
        std::memcpy(&before, behind + i, sizeof before);
        Levels more = now > before ? now - before : Levels{};
        more = more < most ? more : Levels{} + most;
        std::memcpy(rest + i, &more, sizeof more);
    }
    for (; i < count; ++i)
        rest[i] = static_cast<std::uint8_t>(std::clamp(picture[i] - behind[i], 0, static_cast<int>(most)));
}

// Calls with the columns and rows of a square's edge, as far as they lie in the picture.
template <typename Look>
void lookAlongEdge(const GreyView& picture, CellGrid::Pixel middle, int reach, Look look) {
    const auto lookIn = [&](int x, int y) {
        if (x >= 0 && x < picture.width && y >= 0 && y < picture.height)
            look(x, y);
    };
    for (int along = -reach; along < reach; ++along) {
        lookIn(middle.x + along, middle.y - reach);
        lookIn(middle.x + reach, middle.y + along);
        lookIn(middle.x - along, middle.y + reach);
        lookIn(middle.x - reach, middle.y - along);
    }
}

} // namespace

void Backdrop::resize(int width, int height) {
    width_ = width;
    height_ = height;
    levels_.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
}

Backdrop::Box Backdrop::pixelsOf(const CellGrid::Area& area) const {
    return {area.left * CellGrid::kSide, area.top * CellGrid::kSide,
            std::min(area.right * CellGrid::kSide, width_), std::min(area.bottom * CellGrid::kSide, height_)};
}

Backdrop::Box Backdrop::near(CellGrid::Pixel middle, int reach) const {
    return {std::max(middle.x - reach, 0), std::max(middle.y - reach, 0),
            std::min(middle.x + reach + 1, width_), std::min(middle.y + reach + 1, height_)};
}

void Backdrop::copy(const GreyView& picture, const Box& box) {
    for (int y = box.top; y < box.bottom; ++y)
        if (box.left < box.right)
            std::copy(picture.row(y) + box.left, picture.row(y) + box.right, row(y) + box.left);
}

void Backdrop::learn(const GreyView& picture, const CellGrid::Area& area,
                     std::span<const CellGrid::Cell> except) {
    if (except.empty())
        return copy(picture, pixelsOf(area));
    for (int cellRow = area.top; cellRow < area.bottom; ++cellRow) {
        markKept(area, cellRow, except);
        for (int column = area.left; column < area.right; ++column)
            if (!kept_[static_cast<std::size_t>(column)])
                copy(picture, pixelsOf({column, cellRow, column + 1, cellRow + 1}));
    }
}

void Backdrop::markKept(const CellGrid::Area& area, int cellRow, std::span<const CellGrid::Cell> except) {
    kept_.assign(static_cast<std::size_t>(area.right) + 1, false);
    const auto first = std::ranges::lower_bound(except, cellRow - 1, {}, &CellGrid::Cell::row);
    for (auto cell = first; cell != except.end() && cell->row <= cellRow + 1; ++cell)
        for (int column = std::max(cell->column - 1, 0); column <= std::min(cell->column + 1, area.right);
             ++column)
            kept_[static_cast<std::size_t>(column)] = true;
}

void Backdrop::learnAround(const GreyView& picture, const CellGrid::Area& area, const Spot& spot) {
    const Box all = pixelsOf(area);
    const Box pen = near({static_cast<int>(spot.x), static_cast<int>(spot.y)},
                         static_cast<int>(kHalo * spot.size) + kLittle);
    const int top = std::clamp(pen.top, all.top, all.bottom);
    const int bottom = std::clamp(pen.bottom, all.top, all.bottom);
    copy(picture, {all.left, all.top, all.right, top});
    copy(picture, {all.left, top, std::min(pen.left, all.right), bottom});
    copy(picture, {std::max(pen.right, all.left), top, all.right, bottom});
    copy(picture, {all.left, bottom, all.right, all.bottom});
}

void Backdrop::guess(const GreyView& picture, CellGrid::Pixel middle, int reach) {
    std::array<int, kWhite + 1> counts{};
    int brighter = 0;
    lookAlongEdge(picture, middle, reach, [&](int x, int y) {
        ++counts[picture.row(y)[x]];
        ++brighter;
    });
    // A few may be of something else that is new.
    brighter /= 2 * kNewPart;
    int level = kWhite;
    while (level > 0 && counts[static_cast<std::size_t>(level)] <= brighter)
        brighter -= counts[static_cast<std::size_t>(level--)];
    const Box box = near(middle, reach);
    for (int y = box.top; y < box.bottom; ++y)
        std::fill(row(y) + box.left, row(y) + box.right, static_cast<std::uint8_t>(level));
}

bool Backdrop::isBehind(const GreyView& picture, CellGrid::Pixel middle, int reach) const {
    int all = 0;
    int different = 0;
    lookAlongEdge(picture, middle, reach, [&](int x, int y) {
        ++all;
        different += std::abs(picture.row(y)[x] - row(y)[x]) > kSame ? 1 : 0;
    });
    return different * kNewPart <= all;
}

Backdrop::Part Backdrop::takenOff(const GreyView& picture, CellGrid::Pixel middle, int reach) {
    const Box box = near(middle, reach);
    const int width = box.right - box.left;
    const int height = box.bottom - box.top;
    const auto most = static_cast<std::uint8_t>(roomAbove(near(middle, CellGrid::kSide / 2)));
    part_.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        takeOff(picture.row(box.top + y) + box.left, row(box.top + y) + box.left, width, most,
                part_.data() + static_cast<std::ptrdiff_t>(y) * width);
    return {{part_, width, height, width}, box.left, box.top};
}

// How many grey levels the sensor has above the brightest of these.
int Backdrop::roomAbove(const Box& box) const {
    int level = 0;
    for (int y = box.top; y < box.bottom; ++y)
        level = std::max<int>(level, *std::max_element(row(y) + box.left, row(y) + box.right));
    return kWhite - level >= kLeastRoom ? kWhite - level : kWhite;
}

} // namespace lightpen::webcam
