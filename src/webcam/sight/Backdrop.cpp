// SPDX-License-Identifier: MIT
#include "webcam/sight/Backdrop.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "webcam/sight/LevelCounts.h"

namespace lightpen::webcam {

namespace {

constexpr int kWhite = 255;
// Noise, and the rings of a compression, differ by less from one picture to the next.
constexpr int kSame = 16;
// Of so many pixels of a square's edge one may have changed: something small may be new.
constexpr int kOneChanged = 16;
// Of so many one may be lit by the pen itself, whose light crosses the edge twice while it draws a long line.
constexpr int kOneLit = 8;
// Of so many one may be brighter than what counts as the brightest.
constexpr int kOneBrighter = 32;
// The pen's light reaches so many of its spot's sizes from its middle, and a little further. The ends of a
// long line reach beyond; what is learnt of them is forgotten with the next picture.
constexpr double kHalo = 2;
constexpr int kLittle = 3;
// With less room for the pen's light it could not be told from noise.
constexpr int kLeastRoom = 24;

// Bytes that are taken together. Compilers do this by themselves at some levels of optimisation only.
constexpr std::size_t kTogether = 16;
using Levels [[gnu::vector_size(kTogether)]] = std::uint8_t;

// What the picture has more than what is behind, byte by byte.
void takeOff(const std::uint8_t* picture, const std::uint8_t* behind, std::size_t count, std::uint8_t* rest) {
    std::size_t i = 0;
    for (; i + kTogether <= count; i += kTogether) {
        Levels now;
        Levels before;
        std::memcpy(&now, picture + i, sizeof now);
        std::memcpy(&before, behind + i, sizeof before);
        const Levels more = now > before ? now - before : Levels{};
        std::memcpy(rest + i, &more, sizeof more);
    }
    for (; i < count; ++i)
        rest[i] = static_cast<std::uint8_t>(std::max(picture[i] - behind[i], 0));
}

void cutTo(std::uint8_t most, std::vector<std::uint8_t>& levels) {
    std::size_t i = 0;
    for (; i + kTogether <= levels.size(); i += kTogether) {
        Levels all;
        std::memcpy(&all, &levels[i], sizeof all);
        all = all < most ? all : Levels{} + most;
        std::memcpy(&levels[i], &all, sizeof all);
    }
    for (; i < levels.size(); ++i)
        levels[i] = std::min(levels[i], most);
}

// The brightest pixel that is so near to one; that one or the first of equals.
CellGrid::Pixel brightestNear(const GreyView& view, CellGrid::Pixel pixel, int reach) {
    CellGrid::Pixel best = pixel;
    for (int y = std::max(pixel.y - reach, 0); y < std::min(pixel.y + reach + 1, view.height); ++y)
        for (int x = std::max(pixel.x - reach, 0); x < std::min(pixel.x + reach + 1, view.width); ++x)
            if (view.row(y)[x] > view.row(best.y)[best.x])
                best = {x, y};
    return best;
}

// Calls look with each pixel of a square's edge that lies in the picture.
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

// An area may begin beyond the last cell; there is nothing of it then.
Backdrop::Box Backdrop::pixelsOf(const CellGrid::Area& area) const {
    const auto within = [](int cells, int pixels) { return std::min(cells * CellGrid::kSide, pixels); };
    return {within(area.left, width_), within(area.top, height_), within(area.right, width_),
            within(area.bottom, height_)};
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

int Backdrop::guess(const GreyView& picture, CellGrid::Pixel middle, int reach) {
    LevelCounts counts{};
    int all = 0;
    lookAlongEdge(picture, middle, reach, [&](int x, int y) {
        ++counts[picture.row(y)[x]];
        ++all;
    });
    const int level = brightestBut(counts, all / kOneBrighter);
    const Box box = near(middle, reach);
    for (int y = box.top; y < box.bottom; ++y)
        std::fill(row(y) + box.left, row(y) + box.right, static_cast<std::uint8_t>(level));
    return level;
}

bool Backdrop::isBehind(const GreyView& picture, CellGrid::Pixel middle, int reach) const {
    const auto newAt = [&](int x, int y) { return picture.row(y)[x] - row(y)[x]; };
    const int light = newAt(middle.x, middle.y);
    int all = 0;
    int changed = 0;
    int lit = 0;
    lookAlongEdge(picture, middle, reach, [&](int x, int y) {
        ++all;
        changed += std::abs(newAt(x, y)) > kSame ? 1 : 0;
        lit += 2 * newAt(x, y) > std::max(light, 2 * kSame) ? 1 : 0;
    });
    if (lit * kOneLit <= all)
        changed -= lit;
    return changed * kOneChanged <= all;
}

Backdrop::Part Backdrop::takenOff(const GreyView& picture, CellGrid::Pixel middle, int reach) {
    const Box box = near(middle, reach);
    const int width = box.right - box.left;
    const int height = box.bottom - box.top;
    part_.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        takeOff(picture.row(box.top + y) + box.left, row(box.top + y) + box.left,
                static_cast<std::size_t>(width), part_.data() + static_cast<std::ptrdiff_t>(y) * width);
    Part part{{part_, width, height, width}, box.left, box.top, {}, 0};
    part.brightest = brightestNear(part.view, {middle.x - box.left, middle.y - box.top}, kMoved);
    part.height = part.view.row(part.brightest.y)[part.brightest.x];
    const int room = kWhite - brightestIn(near(middle, kMoved));
    if (room >= kLeastRoom)
        cutTo(static_cast<std::uint8_t>(room), part_);
    return part;
}

int Backdrop::brightestIn(const Box& box) const {
    int level = 0;
    for (int y = box.top; y < box.bottom; ++y)
        level = std::max<int>(level, *std::max_element(row(y) + box.left, row(y) + box.right));
    return level;
}

} // namespace lightpen::webcam
