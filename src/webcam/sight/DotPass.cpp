// SPDX-License-Identifier: MIT
#include "webcam/sight/DotPass.h"

#include <algorithm>
#include <cmath>

namespace lightpen::webcam {

namespace {

// From the window's edge to a dot's edge, in widths of a dot.
constexpr double kMargin = 0.25;
// The pictures that tell that all is dark, and where a dot is.
constexpr int kDarkPictures = 3;
constexpr std::size_t kPictures = 5;
// How far the same light may seem to be from where it was, in pixels.
constexpr double kSame = 6;
constexpr double kStill = 2;
// A room has not more lights; the oldest are forgotten.
constexpr std::size_t kMostKnown = 64;

double distance(PicturePoint a, PicturePoint b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

PicturePoint meanOf(const std::vector<PicturePoint>& points) {
    PicturePoint mean;
    for (const PicturePoint& point : points) {
        mean.x += point.x / static_cast<double>(points.size());
        mean.y += point.y / static_cast<double>(points.size());
    }
    return mean;
}

} // namespace

// Nine at edges, corners and in the middle, four in between: what is far from the middle tells most of a
// lens.
DotPass::DotPass(Size window, double dotWidth, Microseconds now) : window_(window), since_(now) {
    const double left = dotWidth * (0.5 + kMargin);
    const auto add = [&](double across, double down) {
        places_.push_back(
            {left + across * (window.width - 2 * left), left + down * (window.height - 2 * left)});
    };
    for (const double down : {0.0, 0.25, 0.5, 0.75, 1.0})
        if (down == 0.25 || down == 0.75)
            for (const double across : {0.25, 0.75})
                add(across, down);
        else
            for (const double across : {0.0, 0.5, 1.0})
                add(across, down);
}

std::optional<ScreenPoint> DotPass::shown() const {
    return step_ && state_ == State::goesOn ? std::optional(places_[*step_]) : std::nullopt;
}

bool DotPass::isKnown(PicturePoint place) const {
    return std::ranges::any_of(known_, [&](PicturePoint light) { return distance(light, place) <= kSame; });
}

std::optional<PicturePoint> DotPass::newLight() const {
    std::optional<PicturePoint> found;
    for (const PicturePoint& blob : last_.blobs) {
        if (isKnown(blob))
            continue;
        if (found)
            return std::nullopt;
        found = blob;
    }
    return found;
}

void DotPass::see(const SeenLights& lights, Microseconds now) {
    if (state_ != State::goesOn)
        return;
    const bool sameSize = last_.width == lights.width && last_.height == lights.height;
    if (step_ && !sameSize) { // another camera, or another mode of it
        state_ = State::blind;
        return;
    }
    last_ = lights;
    if (step_)
        seeDot();
    else
        seeDark();
    const bool enough = step_ ? seen_.size() >= kPictures : darkInARow_ >= kDarkPictures;
    if (enough)
        goOn(now);
    else
        wait(now);
}

void DotPass::seeDark() {
    darkInARow_ = last_.dark ? darkInARow_ + 1 : 0;
}

void DotPass::seeDot() {
    const auto light = last_.dark ? newLight() : std::nullopt;
    if (!light || (!seen_.empty() && distance(*light, seen_.front()) > kStill))
        seen_.clear();
    if (light)
        seen_.push_back(*light);
}

void DotPass::wait(Microseconds now) {
    if (state_ != State::goesOn || now - since_ < (step_ ? kPatience : kDarkPatience))
        return;
    if (step_)
        goOn(now);
    else
        state_ = State::blind;
}

// What is there now is not the next dot: it is a lamp, or this one.
void DotPass::goOn(Microseconds now) {
    if (step_ && seen_.size() >= kPictures)
        dots_.push_back({meanOf(seen_), places_[*step_]});
    step_ = step_ ? *step_ + 1 : 0;
    since_ = now;
    seen_.clear();
    for (const PicturePoint& blob : last_.blobs)
        if (!isKnown(blob))
            known_.push_back(blob);
    if (known_.size() > kMostKnown)
        known_.erase(known_.begin(), known_.end() - kMostKnown);
    const std::size_t missed = *step_ - dots_.size();
    if (missed > kMostMissed || (dots_.empty() && missed >= kBlind))
        state_ = State::blind;
    else if (*step_ == places_.size())
        state_ = State::done;
}

} // namespace lightpen::webcam
