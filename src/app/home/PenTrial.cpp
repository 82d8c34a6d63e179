// SPDX-License-Identifier: MIT
#include "app/home/PenTrial.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace lightpen {

namespace {

constexpr std::size_t kColumns = 3;
// From the picture's edge to the outer crosses, as a part of its width and height.
constexpr double kMargin = 0.1;
constexpr double kBetween = (1 - 2 * kMargin) / double(kColumns - 1);
constexpr int kMostEnlarged = 20;
// The longest way that is shown, as a part of the reach: the next cross's own way has room beside it.
constexpr double kShownShare = 0.6;

double distance(ScreenPoint a, ScreenPoint b) {
    return std::hypot(b.x - a.x, b.y - a.y);
}

double placeOf(std::size_t step, double length) {
    return std::floor(length * (kMargin + kBetween * double(step)));
}

} // namespace

PenTrial::PenTrial(Size picture) : picture_(picture) {
    for (std::size_t i = 0; i < kCrosses; ++i)
        crosses_[i] = {placeOf(i % kColumns, picture.width), placeOf(i / kColumns, picture.height)};
}

// Half the way to the next cross.
double PenTrial::reach() const {
    return std::min(picture_.width, picture_.height) * kBetween / 2;
}

std::optional<std::size_t> PenTrial::touch(ScreenPoint place) {
    const auto nearer = [place](ScreenPoint a, ScreenPoint b) {
        return distance(a, place) < distance(b, place);
    };
    const auto nearest = std::min_element(crosses_.begin(), crosses_.end(), nearer);
    if (!(distance(*nearest, place) < reach())) // also where either is not a number
        return std::nullopt;
    const auto index = static_cast<std::size_t>(nearest - crosses_.begin());
    touches_[index] = place;
    return index;
}

bool PenTrial::isComplete() const {
    return std::ranges::all_of(touches_, [](const auto& touch) { return touch.has_value(); });
}

std::optional<PenTrial::Outcome> PenTrial::outcome() const {
    std::vector<double> distances;
    for (std::size_t i = 0; i < kCrosses; ++i)
        if (touches_[i])
            distances.push_back(distance(crosses_[i], *touches_[i]));
    if (distances.empty())
        return std::nullopt;
    std::ranges::sort(distances);
    const std::size_t count = distances.size();
    return Outcome{count, (distances[(count - 1) / 2] + distances[count / 2]) / 2, distances.back()};
}

int PenTrial::enlargement() const {
    const auto found = outcome();
    const double longest = reach() * kShownShare;
    if (!found || found->worst * kMostEnlarged <= longest)
        return kMostEnlarged;
    return std::max(1, static_cast<int>(longest / found->worst));
}

} // namespace lightpen
