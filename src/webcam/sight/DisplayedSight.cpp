// SPDX-License-Identifier: MIT
#include "webcam/sight/DisplayedSight.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>

#include "webcam/sight/CellGrid.h"
#include "webcam/sight/SpotShape.h"

namespace lightpen::webcam {

namespace {

// How much brighter than the dark part of the picture a light is, and a dark part's brightest level. A
// picture without any dark part is a bright one.
constexpr int kLight = 48;
constexpr int kDarkest = 96;
// The part of the cells that are darker than what is taken for the dark part's level.
constexpr int kDarkPart = 5;
// A thing that is longer than this part of the picture's longer side is not compact.
constexpr int kCompactPart = 6;
// A room has no more of the picture than this in windows and lamps; a desktop has.
constexpr double kRoomPart = 0.12;
// A disc that is seen from the side.
constexpr double kFlatness = 3;
constexpr double kLeastSize = 3; // pixels
// How far a light that stays seems to move, in pixels.
constexpr double kStays = 1.5;
// More blobs are no target, and no lamps.
constexpr std::size_t kMostBlobs = 16;

bool samePlace(const Spot& a, const Spot& b) {
    return std::hypot(a.x - b.x, a.y - b.y) <= kStays;
}

bool has(const std::vector<Spot>& spots, const Spot& spot) {
    return std::ranges::any_of(spots, [&](const Spot& other) { return samePlace(other, spot); });
}

struct Cell {
    int column = 0;
    int row = 0;
};

// Bright cells that hang together.
struct Thing {
    std::vector<Cell> cells;
    int longest = 0; // cells
    Cell brightest;
};

// The picture's bright things.
class Things {
public:
    explicit Things(const GreyView& picture) : picture_(picture) {
        cells_.resize(picture.width, picture.height);
        cells_.measure(picture, cells_.whole());
        taken_.resize(static_cast<std::size_t>(cells_.count()));
        light_ = std::min(darkLevel(), kDarkest) + kLight;
    }

    std::vector<Thing> all() {
        std::vector<Thing> things;
        for (int row = 0; row < cells_.rows(); ++row)
            for (int column = 0; column < cells_.columns(); ++column) {
                Thing thing{{}, 0, {column, row}};
                take({column, row}, thing);
                if (!thing.cells.empty())
                    things.push_back(grown(std::move(thing)));
            }
        return things;
    }

    // The thing's place when it is compact and nothing else.
    std::optional<Spot> blobOf(const Thing& thing) const {
        const int longest = thing.longest * CellGrid::kSide;
        // Whole cells, of which the outer ones may have no more than a pixel of the thing.
        if ((longest - CellGrid::kSide) * kCompactPart > std::max(picture_.width, picture_.height))
            return std::nullopt;
        const CellGrid::Pixel pixel =
            cells_.brightestPixel(picture_, thing.brightest.column, thing.brightest.row);
        const auto size = static_cast<double>(longest);
        const auto spot = spotAt(picture_, pixel.x, pixel.y, {kLight / 2, size, size, kFlatness});
        return spot && spot->size >= kLeastSize ? spot : std::nullopt;
    }

    double partOf(const Thing& thing) const {
        return static_cast<double>(thing.cells.size()) / cells_.count();
    }

private:
    int darkLevel() const {
        std::array<int, 256> counts{};
        for (int row = 0; row < cells_.rows(); ++row)
            for (int column = 0; column < cells_.columns(); ++column)
                ++counts[static_cast<std::size_t>(cells_.brightest(column, row))];
        int darker = cells_.count() / kDarkPart;
        int level = 0;
        while (darker >= counts[static_cast<std::size_t>(level)])
            darker -= counts[static_cast<std::size_t>(level++)];
        return level;
    }

    void take(const Cell& cell, Thing& thing) {
        const auto index = static_cast<std::size_t>(cell.row * cells_.columns() + cell.column);
        if (taken_[index] || cells_.brightest(cell.column, cell.row) <= light_)
            return;
        taken_[index] = true;
        thing.cells.push_back(cell);
    }

    Thing grown(Thing thing) {
        for (std::size_t next = 0; next < thing.cells.size(); ++next) {
            const Cell cell = thing.cells[next];
            for (int row = std::max(cell.row - 1, 0); row <= std::min(cell.row + 1, cells_.rows() - 1); ++row)
                for (int column = std::max(cell.column - 1, 0);
                     column <= std::min(cell.column + 1, cells_.columns() - 1); ++column)
                    take({column, row}, thing);
        }
        const auto [left, right] = std::ranges::minmax(thing.cells, {}, &Cell::column);
        const auto [top, bottom] = std::ranges::minmax(thing.cells, {}, &Cell::row);
        thing.longest = std::max(right.column - left.column, bottom.row - top.row) + 1;
        thing.brightest = *std::ranges::max_element(
            thing.cells, {}, [&](const Cell& cell) { return cells_.brightest(cell.column, cell.row); });
        return thing;
    }

    const GreyView& picture_;
    CellGrid cells_;
    std::vector<bool> taken_;
    int light_ = 0;
};

} // namespace

void DisplayedSight::forget() {
    before_.clear();
    room_.clear();
}

DisplayedLights DisplayedSight::look(const GreyView& picture) {
    DisplayedLights lights;
    if (!picture.whole()) {
        before_.clear();
        return lights;
    }
    Things things(picture);
    std::vector<Spot> blobs;
    double bright = 0;
    for (const Thing& thing : things.all())
        if (const auto blob = things.blobOf(thing))
            blobs.push_back(*blob);
        else
            bright += things.partOf(thing);
    lights.dark = bright <= kRoomPart && blobs.size() <= kMostBlobs;
    if (!lights.dark)
        learnRoom(blobs);
    if (blobs.size() > kMostBlobs) { // no target is among so many, and no lamp
        before_.clear();
        return lights;
    }
    for (const Spot& blob : blobs)
        if (has(before_, blob) && !has(room_, blob))
            lights.blobs.push_back(blob);
    before_ = std::move(blobs);
    return lights;
}

// What is there beside a bright picture is a lamp; and where the picture itself shows something like it, that
// is over when the picture is dark.
void DisplayedSight::learnRoom(const std::vector<Spot>& blobs) {
    if (blobs.size() > kMostBlobs)
        return;
    for (const Spot& blob : blobs)
        if (!has(room_, blob) && room_.size() < kMostBlobs)
            room_.push_back(blob);
}

} // namespace lightpen::webcam
