// SPDX-License-Identifier: MIT
#include "kernel/room/RoomView.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "unit/wire/PenReports.h"

namespace lightpen {

namespace {

// Eight pixels at a time, of which none overflows: the still picture leaves room for the noise.
constexpr std::size_t kTogether = 8;
constexpr std::size_t kNoiseStarts = 4096;
constexpr double kNoiseReach = 3; // standard deviations, up and down
constexpr double kSpotReach = 4;  // standard deviations
constexpr double kSpotPart = 500; // of the picture's width, one standard deviation
constexpr double kLampWidth = 3;  // times the spot's
constexpr int kMostCovered = 4;

std::size_t pixelsOf(PictureSize size) {
    return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

std::uint8_t lightOf(std::uint32_t colour) {
    return static_cast<std::uint8_t>(
        (77 * ((colour >> 16) & 0xFF) + 150 * ((colour >> 8) & 0xFF) + 29 * (colour & 0xFF)) >> 8);
}

std::uint8_t level(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

} // namespace

RoomView::RoomView(PictureSize picture, Size screen, const Optics& optics, std::uint32_t seed)
    : size_(picture), screenWidth_(static_cast<int>(screen.width)),
      screenHeight_(static_cast<int>(screen.height)), optics_(optics), corners_(pixelsOf(picture), kNoScreen),
      colours_(pixelsOf({screenWidth_, screenHeight_})), screen_(colours_.size()), still_(corners_.size()),
      random_(seed) {
    lookUpScreen();
    setLight({});
}

PicturePoint RoomView::inPicture(CameraPoint point) const {
    return {point.x * size_.width / kCameraWidth, point.y * size_.height / kCameraHeight};
}

double RoomView::spotWidth() const {
    return size_.width / kSpotPart;
}

// A pixel is as bright as the square of the screen's pixels around its middle, which is as large as the pixel
// in the middle of the screen.
void RoomView::lookUpScreen() {
    const auto onScreen = [this](double x, double y) {
        return optics_.unproject({x * kCameraWidth / size_.width, y * kCameraHeight / size_.height});
    };
    const PicturePoint middle = place({screenWidth_ / 2.0, screenHeight_ / 2.0});
    const ScreenPoint here = onScreen(middle.x, middle.y);
    const ScreenPoint right = onScreen(middle.x + 1, middle.y);
    side_ = std::clamp(static_cast<int>(std::lround(std::hypot(right.x - here.x, right.y - here.y))), 1,
                       kMostCovered);
    std::size_t pixel = 0;
    for (int row = 0; row < size_.height; ++row)
        for (int column = 0; column < size_.width; ++column, ++pixel) {
            const ScreenPoint at = onScreen(column + 0.5, row + 0.5);
            if (!(at.x >= 0 && at.x < screenWidth_ && at.y >= 0 && at.y < screenHeight_))
                continue;
            const auto first = [this](double place, int length) {
                return std::clamp(static_cast<int>(std::lround(place - side_ / 2.0)), 0, length - side_);
            };
            corners_[pixel] = static_cast<std::uint32_t>(first(at.y, screenHeight_) * screenWidth_ +
                                                         first(at.x, screenWidth_));
        }
}

void RoomView::setLight(const RoomLight& light) {
    light_ = light;
    makeNoise();
    this->light({0, 0, size_.width, size_.height});
}

// From 0 on, so that it is only ever added; its mean is a part of the darkness.
void RoomView::makeNoise() {
    std::mt19937 source(random_);
    std::normal_distribution<double> spread(0, 1);
    noise_.resize(still_.size() + kNoiseStarts + kTogether);
    for (std::uint8_t& value : noise_)
        value = level(light_.noise * (kNoiseReach + std::clamp(spread(source), -kNoiseReach, kNoiseReach)));
}

void RoomView::show(const ScreenPicture& picture) {
    if (picture.width == screenWidth_ && picture.height == screenHeight_)
        light(seenOf(takeOver(picture)));
}

// What has changed on the screen, and its light from now on.
RoomView::Box RoomView::takeOver(const ScreenPicture& picture) {
    Box changed{screenWidth_, screenHeight_, 0, 0};
    const std::size_t rowBytes = static_cast<std::size_t>(screenWidth_) * sizeof(std::uint32_t);
    for (int y = 0; y < screenHeight_; ++y) {
        const std::size_t first = static_cast<std::size_t>(y) * static_cast<std::size_t>(screenWidth_);
        const std::uint8_t* row = picture.bytes.data() + static_cast<std::size_t>(y) * picture.stride;
        if (std::memcmp(&colours_[first], row, rowBytes) == 0)
            continue;
        changed.top = std::min(changed.top, y);
        changed.bottom = y + 1;
        for (int x = 0; x < screenWidth_; ++x) {
            const std::size_t pixel = first + static_cast<std::size_t>(x);
            std::uint32_t colour = 0;
            std::memcpy(&colour, row + static_cast<std::size_t>(x) * sizeof colour, sizeof colour);
            if (colour == colours_[pixel])
                continue;
            colours_[pixel] = colour;
            screen_[pixel] = lightOf(colour);
            changed.left = std::min(changed.left, x);
            changed.right = std::max(changed.right, x + 1);
        }
    }
    return changed;
}

// The pixels that a part of the screen is seen in.
RoomView::Box RoomView::seenOf(const Box& changed) const {
    if (changed.left >= changed.right)
        return {};
    double left = size_.width;
    double top = size_.height;
    double right = 0;
    double bottom = 0;
    for (const int x : {changed.left, changed.right})
        for (const int y : {changed.top, changed.bottom}) {
            const PicturePoint seen = place({static_cast<double>(x), static_cast<double>(y)});
            left = std::min(left, seen.x);
            top = std::min(top, seen.y);
            right = std::max(right, seen.x);
            bottom = std::max(bottom, seen.y);
        }
    // A pixel reaches further on the screen than its middle, more so on the screen's near side.
    constexpr double kReach = 4;
    const auto within = [](double place, int length) {
        return static_cast<int>(std::clamp(place, 0.0, static_cast<double>(length)));
    };
    return {within(left - kReach, size_.width), within(top - kReach, size_.height),
            within(right + kReach, size_.width), within(bottom + kReach, size_.height)};
}

void RoomView::light(const Box& pixels) {
    const auto brightest = static_cast<unsigned>(255 - std::ceil(2 * kNoiseReach * light_.noise));
    const auto dark = static_cast<unsigned>(std::max(0.0, light_.dark - kNoiseReach * light_.noise));
    const auto gain = static_cast<unsigned>(
        std::lround(std::max(0.0, light_.screen - light_.dark) * 65536 / (255.0 * side_ * side_)));
    for (int row = pixels.top; row < pixels.bottom; ++row)
        for (int column = pixels.left; column < pixels.right; ++column) {
            const std::size_t pixel = static_cast<std::size_t>(row) * static_cast<std::size_t>(size_.width) +
                                      static_cast<std::size_t>(column);
            unsigned sum = 0;
            if (corners_[pixel] != kNoScreen)
                for (int y = 0; y < side_; ++y) {
                    const std::uint8_t* from =
                        &screen_[corners_[pixel] + static_cast<std::size_t>(y * screenWidth_)];
                    for (int x = 0; x < side_; ++x)
                        sum += from[x];
                }
            still_[pixel] = static_cast<std::uint8_t>(std::min(dark + ((sum * gain) >> 16), brightest));
        }
}

void RoomView::draw(std::optional<ScreenPoint> pen, std::span<std::uint8_t> grey) {
    random_ = random_ * 1664525U + 1013904223U;
    const std::uint8_t* noise = noise_.data() + (random_ >> 16) % kNoiseStarts;
    std::size_t pixel = 0;
    for (; pixel + kTogether <= still_.size(); pixel += kTogether) {
        std::uint64_t lit = 0;
        std::uint64_t more = 0;
        std::memcpy(&lit, still_.data() + pixel, kTogether);
        std::memcpy(&more, noise + pixel, kTogether);
        lit += more;
        std::memcpy(grey.data() + pixel, &lit, kTogether);
    }
    for (; pixel < still_.size(); ++pixel)
        grey[pixel] = static_cast<std::uint8_t>(still_[pixel] + noise[pixel]);
    if (light_.lamp)
        addSpot(inPicture(*light_.lamp), kLampWidth * spotWidth(), grey);
    if (pen)
        addSpot(place(*pen), spotWidth(), grey);
}

void RoomView::addSpot(PicturePoint middle, double width, std::span<std::uint8_t> grey) const {
    const auto first = [&](double place) {
        return std::max(0, static_cast<int>(place - kSpotReach * width));
    };
    const auto end = [&](double place, int length) {
        return std::min(length, static_cast<int>(place + kSpotReach * width) + 1);
    };
    const auto share = [width](double off) { return std::exp(-off * off / (2 * width * width)); };
    std::vector<double> across;
    for (int column = first(middle.x); column < end(middle.x, size_.width); ++column)
        across.push_back(light_.pen * share(column + 0.5 - middle.x));
    for (int row = first(middle.y); row < end(middle.y, size_.height); ++row) {
        const double down = share(row + 0.5 - middle.y);
        std::uint8_t* pixel = &grey[static_cast<std::size_t>(row * size_.width + first(middle.x))];
        for (const double light : across) {
            *pixel = level(*pixel + light * down);
            ++pixel;
        }
    }
}

} // namespace lightpen
