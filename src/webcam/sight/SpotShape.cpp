// SPDX-License-Identifier: MIT
#include "webcam/sight/SpotShape.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace lightpen::webcam {

namespace {

// A pixel belongs to a spot when it is above what is around by this part of the peak. Its weight is what it
// has more than that, so that a pixel at the spot's edge, of which nobody knows whether it belongs, weighs
// next to nothing.
constexpr double kEdge = 0.3;
// How many times a peak is above the differences that neighbours have around it.
constexpr int kAboveNoise = 5;
// How much of the place around a spot may be as bright as half of the spot.
constexpr double kClutter = 0.12;
// The least of a spot, in pixels. A single one is a fault of the sensor or its noise.
constexpr int kLeastPixels = 4;
constexpr int kLeastBright = 2;

// What is around a spot.
struct Surroundings {
    int level = 0; // the brighter side's, where an edge goes through
    int noise = 0; // how much neighbours differ
};

constexpr std::size_t kSamples = 32;
// At a corner of the picture there is a quarter of them. Fewer tell nothing: the picture is as small as a
// spot.
constexpr std::size_t kFewestSamples = kSamples / 4;
constexpr std::size_t kSamplesOfSide = kSamples / 4;

using Samples = std::array<int, kSamples>;

int quantile(Samples& samples, std::size_t count, std::size_t quarter) {
    const auto place = samples.begin() + static_cast<std::ptrdiff_t>(count * quarter / 4);
    std::nth_element(samples.begin(), place, samples.begin() + static_cast<std::ptrdiff_t>(count));
    return *place;
}

// The corner of the square before each side, and the way along it.
struct Side {
    int x, y, stepX, stepY;
};
constexpr std::array<Side, 4> kSides{{{-1, -1, 1, 0}, {1, -1, 0, 1}, {1, 1, -1, 0}, {-1, 1, 0, -1}}};

// From the pixels of a square's edge, as many as lie in the picture.
std::optional<Surroundings> around(const GreyView& picture, int x, int y, int radius) {
    Samples levels{};
    Samples steps{};
    std::size_t count = 0;
    for (const Side& side : kSides)
        for (std::size_t i = 0; i < kSamplesOfSide; ++i) {
            const int along = static_cast<int>(i) * 2 * radius / static_cast<int>(kSamplesOfSide);
            const int sampleX = x + side.x * radius + side.stepX * along;
            const int sampleY = y + side.y * radius + side.stepY * along;
            if (sampleX < 0 || sampleX >= picture.width || sampleY < 0 || sampleY >= picture.height)
                continue;
            levels[count] = picture.row(sampleY)[sampleX];
            steps[count] = count == 0 ? 0 : std::abs(levels[count] - levels[count - 1]);
            ++count;
        }
    if (count < kFewestSamples)
        return std::nullopt;
    return Surroundings{quantile(levels, count, 3), quantile(steps, count, 2)};
}

// The pixels of a spot, row by row from its brightest one upwards and downwards.
class Blob {
public:
    Blob(const GreyView& picture, int x, int y, int surroundings, double length)
        : picture_(picture), x_(x), y_(y), peak_(picture.row(y)[x]),
          cut_(surroundings + kEdge * (peak_ - surroundings)), half_((surroundings + peak_) / 2),
          length_(static_cast<int>(length)) {
        const Run first = grown(y, {x, x});
        add(y, first);
        follow(first, -1);
        follow(first, 1);
    }
    // Longer than it may be, or its brightest part at the picture's edge; it was not looked at any further
    // then.
    bool beyond() const { return beyond_; }
    int pixels() const { return pixels_; }
    int half() const { return half_; }
    int brightPixels() const { return brightPixels_; } // above half
    double x() const { return x_ + sumX_ / weight_; }
    double y() const { return y_ + sumY_ / weight_; }
    // The axes of the ellipse that has the same moments, as its diameters.
    struct Axes {
        double width, length;
    };
    Axes axes() const;

private:
    struct Run {
        int left, right; // both belong to it
    };
    bool lit(int x, int y) const { return picture_.row(y)[x] > cut_; }
    Run grown(int y, Run run);
    void follow(Run run, int step);
    void add(int y, Run run);

    const GreyView& picture_;
    const int x_, y_;
    const int peak_;
    const double cut_;
    const int half_;
    const int length_;
    bool beyond_ = false;
    int pixels_ = 0;
    int brightPixels_ = 0;
    double weight_ = 0;
    double sumX_ = 0, sumY_ = 0; // from the brightest pixel
    double sumXX_ = 0, sumXY_ = 0, sumYY_ = 0;
};

// As far to both sides as it is lit.
Blob::Run Blob::grown(int y, Run run) {
    const int least = std::max(x_ - length_, 0);
    const int most = std::min(x_ + length_, picture_.width - 1);
    while (run.left > least && lit(run.left - 1, y))
        --run.left;
    while (run.right < most && lit(run.right + 1, y))
        ++run.right;
    if (run.left == x_ - length_ || run.right == x_ + length_)
        beyond_ = true;
    return run;
}

// The rows above or below, for as long as they have lit pixels beside the run before.
void Blob::follow(Run run, int step) {
    for (int y = y_ + step; y >= 0 && y < picture_.height && !beyond_; y += step) {
        Run next{std::max(run.left - 1, 0), std::min(run.right + 1, picture_.width - 1)};
        while (next.left <= next.right && !lit(next.left, y))
            ++next.left;
        if (next.left > next.right)
            return;
        while (!lit(next.right, y))
            --next.right;
        run = grown(y, next);
        beyond_ = beyond_ || std::abs(y - y_) >= length_;
        add(y, run);
    }
}

void Blob::add(int y, Run run) {
    const bool edgeRow = y == 0 || y == picture_.height - 1;
    const std::uint8_t* const row = picture_.row(y);
    const double dy = y - y_;
    for (int x = run.left; x <= run.right; ++x) {
        const double weight = row[x] - cut_;
        if (weight <= 0)
            continue;
        const bool edge = edgeRow || x == 0 || x == picture_.width - 1;
        beyond_ = beyond_ || (edge && row[x] >= peak_);
        const double dx = x - x_;
        ++pixels_;
        brightPixels_ += row[x] > half_ ? 1 : 0;
        weight_ += weight;
        sumX_ += weight * dx;
        sumY_ += weight * dy;
        sumXX_ += weight * dx * dx;
        sumXY_ += weight * dx * dy;
        sumYY_ += weight * dy * dy;
    }
}

Blob::Axes Blob::axes() const {
    const double meanX = sumX_ / weight_;
    const double meanY = sumY_ / weight_;
    const double xx = sumXX_ / weight_ - meanX * meanX;
    const double yy = sumYY_ / weight_ - meanY * meanY;
    const double xy = sumXY_ / weight_ - meanX * meanY;
    const double middle = (xx + yy) / 2;
    const double apart = std::hypot((xx - yy) / 2, xy);
    // A disc's variance along a line is a sixteenth of its diameter's square.
    return {4 * std::sqrt(std::max(middle - apart, 0.0)), 4 * std::sqrt(std::max(middle + apart, 0.0))};
}

// How many pixels of a square around a place are brighter than a level, and how many there are.
struct Share {
    int bright = 0;
    int all = 0;
};

Share shareAround(const GreyView& picture, int x, int y, int radius, int level) {
    const int left = std::max(x - radius, 0);
    const int right = std::min(x + radius + 1, picture.width);
    Share share;
    for (int row = std::max(y - radius, 0); row < std::min(y + radius + 1, picture.height); ++row) {
        const std::uint8_t* const pixels = picture.row(row);
        int bright = 0;
        for (int i = left; i < right; ++i)
            bright += pixels[i] > level ? 1 : 0;
        share.bright += bright;
        share.all += right - left;
    }
    return share;
}

} // namespace

int surroundingsReach(const SpotLimits& limits) {
    return static_cast<int>(std::ceil(limits.width * 1.25)) + 2;
}

std::optional<Spot> spotAt(const GreyView& picture, int x, int y, const SpotLimits& limits) {
    const int peak = picture.row(y)[x];
    const int radius = surroundingsReach(limits);
    const auto surroundings = around(picture, x, y, radius);
    if (!surroundings)
        return std::nullopt;
    const int height = peak - surroundings->level;
    if (height < limits.level || height < kAboveNoise * surroundings->noise)
        return std::nullopt;
    const Blob blob(picture, x, y, surroundings->level, limits.length);
    if (blob.beyond() || blob.pixels() < kLeastPixels || blob.brightPixels() < kLeastBright)
        return std::nullopt;
    const auto axes = blob.axes();
    // A row of pixels has no width at all, and is as long as it may be of a light of one pixel.
    if (axes.width > limits.width || axes.length > limits.flatness * std::max(axes.width, 2.0))
        return std::nullopt;
    const Share share = shareAround(picture, x, y, radius, blob.half());
    if (share.bright - blob.brightPixels() > kClutter * share.all)
        return std::nullopt;
    return Spot{blob.x(), blob.y(), std::sqrt(blob.brightPixels() * 4 / std::numbers::pi),
                static_cast<double>(height)};
}

} // namespace lightpen::webcam
