// SPDX-License-Identifier: MIT
#include "kit/sight/DrawnPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace lightpen::webcam {

namespace {

std::uint8_t cut(double level) {
    return static_cast<std::uint8_t>(std::clamp(level, 0.0, 255.0) + 0.5);
}

// Noise costs a test more than all else, so it is made once, and taken from another place for each row.
constexpr std::size_t kPool = 1 << 18;

// In parts of the standard deviation.
constexpr int kDeviation = 256;

const std::vector<int>& normalPool() {
    static const std::vector<int> pool = [] {
        std::mt19937 random(7);
        std::normal_distribution<double> normal(0, kDeviation);
        std::vector<int> made(kPool);
        std::ranges::generate(made, [&] { return static_cast<int>(std::lround(normal(random))); });
        return made;
    }();
    return pool;
}

const std::vector<std::uint8_t>& snowPool() {
    static const std::vector<std::uint8_t> pool = [] {
        std::mt19937 random(8);
        std::vector<std::uint8_t> made(kPool);
        std::ranges::generate(made, [&] { return static_cast<std::uint8_t>(random()); });
        return made;
    }();
    return pool;
}

std::ptrdiff_t placeInPool(int width, std::mt19937& random) {
    return static_cast<std::ptrdiff_t>(random() % (kPool - static_cast<std::size_t>(width)));
}

constexpr int kBlock = 8;
using Block = std::array<std::array<double, kBlock>, kBlock>;

// The steps of the luminance at quality 50, as the standard's example has them.
constexpr int kSteps[kBlock][kBlock] = {
    {16, 11, 10, 16, 24, 40, 51, 61},     {12, 12, 14, 19, 26, 58, 60, 55},
    {14, 13, 16, 24, 40, 57, 69, 56},     {14, 17, 22, 29, 51, 87, 80, 62},
    {18, 22, 37, 56, 68, 109, 103, 77},   {24, 35, 55, 64, 81, 104, 113, 92},
    {49, 64, 78, 87, 103, 121, 120, 101}, {72, 92, 95, 98, 112, 100, 103, 99}};

const Block& cosines() {
    static const Block table = [] {
        Block made{};
        for (std::size_t k = 0; k < kBlock; ++k)
            for (std::size_t n = 0; n < kBlock; ++n)
                made[k][n] = (k == 0 ? std::sqrt(0.125) : 0.5) *
                             std::cos(static_cast<double>((2 * n + 1) * k) * std::numbers::pi / 16);
        return made;
    }();
    return table;
}

// Each row as its frequencies, or back, and the block turned over.
Block turned(const Block& block, bool back) {
    Block result{};
    for (std::size_t row = 0; row < kBlock; ++row)
        for (std::size_t k = 0; k < kBlock; ++k)
            for (std::size_t n = 0; n < kBlock; ++n)
                result[k][row] += block[row][n] * (back ? cosines()[n][k] : cosines()[k][n]);
    return result;
}

} // namespace

DrawnPicture::DrawnPicture(int width, int height, int level, int padding)
    : width_(width), height_(height), stride_(width + padding),
      pixels_(static_cast<std::size_t>(stride_) * static_cast<std::size_t>(height), 255) {
    rectangle(0, 0, width, height, level);
}

DrawnPicture& DrawnPicture::spot(double x, double y, double sigma, double peak) {
    return streak(x, y, x, y, sigma, peak);
}

DrawnPicture& DrawnPicture::streak(double fromX, double fromY, double toX, double toY, double sigma,
                                   double peak) {
    const double length = std::hypot(toX - fromX, toY - fromY);
    const int steps = std::max(1, static_cast<int>(std::ceil(length / sigma * 4)));
    const int reach = static_cast<int>(std::ceil(5 * sigma));
    const auto low = [&](double a, double b) { return static_cast<int>(std::floor(std::min(a, b))) - reach; };
    const auto high = [&](double a, double b, int most) {
        return std::min(static_cast<int>(std::ceil(std::max(a, b))) + reach, most - 1);
    };
    // A moving light is as bright as a resting one is at its peak; the exposure is that of a dim room.
    const double each = length > 0 ? peak / (sigma * std::sqrt(2 * std::numbers::pi) / length * steps) : peak;
    for (int row = std::max(low(fromY, toY), 0); row <= high(fromY, toY, height_); ++row)
        for (int column = std::max(low(fromX, toX), 0); column <= high(fromX, toX, width_); ++column) {
            double sum = 0;
            for (int i = 0; i < steps; ++i) {
                const double part = steps == 1 ? 0.5 : i / (steps - 1.0);
                const double dx = column - (fromX + part * (toX - fromX));
                const double dy = row - (fromY + part * (toY - fromY));
                sum += std::exp(-(dx * dx + dy * dy) / (2 * sigma * sigma));
            }
            at(column, row) = cut(at(column, row) + each * sum);
        }
    return *this;
}

DrawnPicture& DrawnPicture::disc(double x, double y, double radius, int level) {
    for (int row = std::max(0, static_cast<int>(y - radius) - 1);
         row < std::min(height_, static_cast<int>(y + radius) + 2); ++row)
        for (int column = std::max(0, static_cast<int>(x - radius) - 1);
             column < std::min(width_, static_cast<int>(x + radius) + 2); ++column) {
            const double share = std::clamp(radius + 0.5 - std::hypot(column - x, row - y), 0.0, 1.0);
            at(column, row) = cut(at(column, row) + share * (level - at(column, row)));
        }
    return *this;
}

DrawnPicture& DrawnPicture::rectangle(int left, int top, int width, int height, int level) {
    const int first = std::clamp(left, 0, width_);
    const int beyond = std::clamp(left + width, first, width_);
    for (int row = std::max(top, 0); row < std::min(top + height, height_); ++row)
        std::fill(&pixels_[0] + row * stride_ + first, &pixels_[0] + row * stride_ + beyond, cut(level));
    return *this;
}

DrawnPicture& DrawnPicture::cover(const DrawnPicture& other, int width, int height, double share) {
    for (int row = 0; row < std::min({height, height_, other.height_}); ++row)
        for (int column = 0; column < std::min({width, width_, other.width_}); ++column) {
            const int here = at(column, row);
            at(column, row) = cut(here + share * (other.view().row(row)[column] - here));
        }
    return *this;
}

DrawnPicture& DrawnPicture::noise(double sigma, std::mt19937& random) {
    // Whole numbers and plain pointers: tests draw millions of pixels without the compiler's help.
    constexpr int kShift = 16;
    const int scale = static_cast<int>(sigma * (1 << kShift) / kDeviation);
    for (int row = 0; row < height_; ++row) {
        const int* const values = normalPool().data() + placeInPool(width_, random);
        std::uint8_t* const pixels = &at(0, row);
        for (int column = 0; column < width_; ++column) {
            const int level = pixels[column] + ((scale * values[column] + (1 << (kShift - 1))) >> kShift);
            pixels[column] = static_cast<std::uint8_t>(level < 0 ? 0 : level > 255 ? 255 : level);
        }
    }
    return *this;
}

DrawnPicture& DrawnPicture::snow(std::mt19937& random) {
    for (int row = 0; row < height_; ++row)
        std::copy_n(snowPool().begin() + placeInPool(width_, random), width_, &at(0, row));
    return *this;
}

DrawnPicture& DrawnPicture::salt(int among, std::mt19937& random) {
    for (int i = 0; i < width_ * height_ / among; ++i)
        at(static_cast<int>(random() % static_cast<unsigned>(width_)),
           static_cast<int>(random() % static_cast<unsigned>(height_))) = 255;
    return *this;
}

DrawnPicture& DrawnPicture::compress(int quality) {
    for (int top = 0; top < height_; top += kBlock)
        for (int left = 0; left < width_; left += kBlock)
            compressBlock(left, top, quality);
    return *this;
}

// A block at the edge is filled with the last column and row.
void DrawnPicture::compressBlock(int left, int top, int quality) {
    Block block{};
    for (int y = 0; y < kBlock; ++y)
        for (int x = 0; x < kBlock; ++x)
            block[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] =
                at(std::min(left + x, width_ - 1), std::min(top + y, height_ - 1)) - 128.0;
    Block frequencies = turned(turned(block, false), false);
    for (std::size_t row = 0; row < kBlock; ++row)
        for (std::size_t column = 0; column < kBlock; ++column) {
            const int step = std::max(1, (kSteps[row][column] * (200 - 2 * quality) + 50) / 100);
            frequencies[row][column] = std::round(frequencies[row][column] / step) * step;
        }
    block = turned(turned(frequencies, true), true);
    for (int y = 0; y < std::min(kBlock, height_ - top); ++y)
        for (int x = 0; x < std::min(kBlock, width_ - left); ++x)
            at(left + x, top + y) =
                cut(block[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] + 128);
}

} // namespace lightpen::webcam
