// SPDX-License-Identifier: MIT
#include "unit/room/ScreenSight.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace lightpen {

namespace {

// How far a pixel must stand out, of 255, to be there at all, and for a light to be a bright one.
constexpr int kVisible = 32;
constexpr int kBright = 128;
// The eye's resolution: what lies in neighbouring cells of this size is one thing.
constexpr double kCellPoints = 8;
// A thing that is longer than this part of the screen's longer side is not compact.
constexpr int kCompactPart = 6;
// A label is at least so many times as wide as it is high.
constexpr int kLabelFlatness = 3;
// How many pixels across are asked what the background is.
constexpr int kBackgroundSamples = 100;

constexpr std::uint32_t kColour = 0xFFFFFF;

int channel(std::uint32_t pixel, int shift) {
    return static_cast<int>((pixel >> shift) & 0xFF);
}

// How much a pixel stands out for the camera: by its light.
struct Light {
    static constexpr std::uint32_t background = 0;
    int operator()(std::uint32_t pixel) const {
        return (77 * channel(pixel, 16) + 150 * channel(pixel, 8) + 29 * channel(pixel, 0)) >> 8;
    }
};

// How much it stands out for a person: by its difference from the background.
struct Contrast {
    std::uint32_t background;
    int operator()(std::uint32_t pixel) const {
        int largest = 0;
        for (const int shift : {0, 8, 16})
            largest = std::max(largest, std::abs(channel(pixel, shift) - channel(background, shift)));
        return largest;
    }
};

// The picture's pixels as 0xRRGGBB, as far as there are any.
class Pixels {
public:
    explicit Pixels(const ScreenPicture& picture) : picture_(picture), width_(std::max(picture.width, 0)) {
        const std::size_t rowBytes = static_cast<std::size_t>(width_) * kPixelBytes;
        const std::size_t rows = rowBytes == 0 || picture.bytes.size() < rowBytes ? 0
                                 : picture.stride == 0
                                     ? 1
                                     : (picture.bytes.size() - rowBytes) / picture.stride + 1;
        height_ = std::min(std::max(picture.height, 0),
                           static_cast<int>(std::min<std::size_t>(rows, std::size_t{1} << 30)));
    }
    int width() const { return width_; }
    int height() const { return height_; }

    std::uint32_t at(int x, int y) const {
        const std::uint8_t* place = picture_.bytes.data() + static_cast<std::size_t>(y) * picture_.stride +
                                    static_cast<std::size_t>(x) * kPixelBytes;
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, place, sizeof pixel);
        return pixel & kColour;
    }
    // The pixels [from, to) of a row that differ from the background, as a set of bits; 0 when all are alike.
    std::uint32_t differences(int from, int to, int y, std::uint32_t background) const {
        std::uint32_t bits = 0;
        for (int x = from; x < to; ++x)
            bits |= at(x, y) ^ background;
        return bits;
    }

private:
    static constexpr std::size_t kPixelBytes = sizeof(std::uint32_t);

    const ScreenPicture& picture_;
    int width_;
    int height_ = 0;
};

// A thing that stands out: its cells, and how much it does at most.
struct Thing {
    std::vector<int> cells;
    int peak = 0;
};

struct Extent {
    int width, height;
};

// The picture as an eye of limited resolution sees it: cells, of which the lit ones form things.
template <class Eye>
class Cells {
public:
    Cells(const Pixels& pixels, const Eye& eye, int size)
        : pixels_(pixels), eye_(eye), size_(size), columns_((pixels.width() + size - 1) / size),
          rows_((pixels.height() + size - 1) / size),
          peaks_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_)) {
        for (int y = 0; y < pixels.height(); ++y)
            for (int column = 0; column < columns_; ++column)
                lookAtRun(column, y);
    }

    // All things, each once.
    std::vector<Thing> things() const {
        std::vector<Thing> found;
        std::vector<bool> taken(peaks_.size());
        for (int cell = 0; cell < static_cast<int>(peaks_.size()); ++cell)
            if (peak(cell) >= kVisible && !taken[static_cast<std::size_t>(cell)])
                found.push_back(thingAt(cell, taken));
        return found;
    }

    // How wide and high a thing is, in pixels: whole cells.
    Extent extent(const Thing& thing) const {
        const auto [top, bottom] = std::minmax_element(thing.cells.begin(), thing.cells.end());
        int left = columns_;
        int right = 0;
        for (const int cell : thing.cells) {
            left = std::min(left, cell % columns_);
            right = std::max(right, cell % columns_);
        }
        return {size_ * (right - left + 1), size_ * (*bottom / columns_ - *top / columns_ + 1)};
    }

    // The middle of what stands out of a compact thing, in pixels. The cells around belong to it, for the
    // sake of faint edges; they are darker, so there is something that stands out.
    ScreenPoint middle(const Thing& thing) const {
        const std::vector<int> cells = withNeighbours(thing.cells);
        int faintest = 255;
        eachPixel(cells, [&](int, int, int light) { faintest = std::min(faintest, light); });
        std::int64_t mass = 0;
        std::int64_t sumX = 0; // of doubled places, so that the middle of a pixel is a whole number
        std::int64_t sumY = 0;
        eachPixel(cells, [&](int x, int y, int light) {
            const std::int64_t weight = light - faintest;
            mass += weight;
            sumX += weight * (2 * x + 1);
            sumY += weight * (2 * y + 1);
        });
        const double twice = 2 * static_cast<double>(mass);
        return {static_cast<double>(sumX) / twice, static_cast<double>(sumY) / twice};
    }

private:
    int peak(int cell) const { return peaks_[static_cast<std::size_t>(cell)]; }

    // A cell's share of one row; most are as plain as the background.
    void lookAtRun(int column, int y) {
        std::uint8_t& peak = peaks_[static_cast<std::size_t>(y / size_ * columns_ + column)];
        const int from = column * size_;
        const int to = std::min(from + size_, pixels_.width());
        if (peak >= kBright || pixels_.differences(from, to, y, eye_.background) == 0)
            return;
        for (int x = from; x < to; ++x)
            peak = std::max(peak, static_cast<std::uint8_t>(eye_(pixels_.at(x, y))));
    }

    template <class Visit>
    void eachNeighbour(int cell, Visit visit) const {
        const int column = cell % columns_;
        const int row = cell / columns_;
        for (int y = std::max(row - 1, 0); y <= std::min(row + 1, rows_ - 1); ++y)
            for (int x = std::max(column - 1, 0); x <= std::min(column + 1, columns_ - 1); ++x)
                visit(y * columns_ + x);
    }

    Thing thingAt(int first, std::vector<bool>& taken) const {
        Thing thing{{first}, 0};
        taken[static_cast<std::size_t>(first)] = true;
        for (std::size_t next = 0; next < thing.cells.size(); ++next) {
            const int cell = thing.cells[next];
            thing.peak = std::max(thing.peak, peak(cell));
            eachNeighbour(cell, [&](int neighbour) {
                if (peak(neighbour) < kVisible || taken[static_cast<std::size_t>(neighbour)])
                    return;
                taken[static_cast<std::size_t>(neighbour)] = true;
                thing.cells.push_back(neighbour);
            });
        }
        return thing;
    }

    std::vector<int> withNeighbours(const std::vector<int>& cells) const {
        std::vector<int> all;
        for (const int cell : cells)
            eachNeighbour(cell, [&](int neighbour) { all.push_back(neighbour); });
        std::sort(all.begin(), all.end());
        all.erase(std::unique(all.begin(), all.end()), all.end());
        return all;
    }

    template <class Visit>
    void eachPixel(const std::vector<int>& cells, Visit visit) const {
        for (const int cell : cells) {
            const int left = cell % columns_ * size_;
            const int top = cell / columns_ * size_;
            for (int y = top; y < std::min(top + size_, pixels_.height()); ++y)
                for (int x = left; x < std::min(left + size_, pixels_.width()); ++x)
                    visit(x, y, eye_(pixels_.at(x, y)));
        }
    }

    const Pixels& pixels_;
    const Eye& eye_;
    const int size_;
    const int columns_;
    const int rows_;
    std::vector<std::uint8_t> peaks_; // exact up to kBright
};

int cellSize(const ScreenPicture& picture) {
    return std::max(1, static_cast<int>(std::lround(kCellPoints / picture.pointsPerPixel)));
}

template <class Eye>
bool compact(const Cells<Eye>& cells, const Thing& thing, const Pixels& pixels) {
    const auto [width, height] = cells.extent(thing);
    return std::max(width, height) * kCompactPart <= std::max(pixels.width(), pixels.height());
}

// Something to read: flat, and shorter than what runs along a whole edge.
template <class Eye>
bool isLabel(const Cells<Eye>& cells, const Thing& thing, const Pixels& pixels) {
    const auto [width, height] = cells.extent(thing);
    return width >= kLabelFlatness * height && 10 * width <= 9 * pixels.width();
}

ScreenPoint inPoints(ScreenPoint pixel, const ScreenPicture& picture) {
    return {pixel.x * picture.pointsPerPixel, pixel.y * picture.pointsPerPixel};
}

// The colour that most of the picture has, if there is one: any other one loses the vote of a sample.
std::uint32_t backgroundOf(const Pixels& pixels) {
    const int step = std::max(1, std::min(pixels.width(), pixels.height()) / kBackgroundSamples);
    std::uint32_t candidate = 0;
    int lead = 0;
    for (int y = 0; y < pixels.height(); y += step)
        for (int x = 0; x < pixels.width(); x += step) {
            const std::uint32_t pixel = pixels.at(x, y);
            if (lead == 0)
                candidate = pixel;
            lead += pixel == candidate ? 1 : -1;
        }
    return candidate;
}

} // namespace

DisplayedPicture cameraView(const ScreenPicture& picture) {
    const Pixels pixels(picture);
    const Light eye;
    const Cells<Light> cells(pixels, eye, cellSize(picture));
    DisplayedPicture view{{}, true};
    for (const Thing& thing : cells.things()) {
        if (thing.peak >= kBright && compact(cells, thing, pixels))
            view.blobs.push_back(inPoints(cells.middle(thing), picture));
        else
            view.dark = false;
    }
    return view;
}

std::optional<ScreenPoint> targetSeen(const ScreenPicture& picture) {
    const Pixels pixels(picture);
    const Contrast eye{backgroundOf(pixels)};
    const Cells<Contrast> cells(pixels, eye, cellSize(picture));
    std::vector<Thing> things = cells.things();
    std::erase_if(things, [&](const Thing& thing) { return isLabel(cells, thing, pixels); });
    if (things.size() != 1 || !compact(cells, things.front(), pixels))
        return std::nullopt;
    return inPoints(cells.middle(things.front()), picture);
}

} // namespace lightpen
