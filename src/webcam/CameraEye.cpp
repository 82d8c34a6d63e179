// SPDX-License-Identifier: MIT
#include "webcam/CameraEye.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <utility>

#include "unit/wire/PenReports.h"
#include "webcam/sight/SmallPicture.h"

namespace lightpen::webcam {

namespace {

static_assert(kSmallWidth == kPictureWidth && kSmallHeight == kPictureHeight);

// The rate that the finder's times are made for, and the one of a camera that does not tell its own.
constexpr double kFinderRate = 60;
constexpr double kUnknownRate = 30;
// One picture may be lost; then the next one comes, a little late.
constexpr double kPatientPictures = 2.5;

Microseconds scaled(Microseconds time, double factor) {
    return Microseconds(static_cast<Microseconds::rep>(static_cast<double>(time.count()) * factor));
}

} // namespace

void CameraEye::begin(double rate, const LensModel& lens) {
    end();
    const double known = rate > 0 ? rate : kUnknownRate;
    lens_ = lens;
    pace_ = std::min(1.0, known / kFinderRate);
    const std::lock_guard hold(mutex_);
    patience_ = std::max(SpotFinder::kPatience, scaled(std::chrono::seconds(1), kPatientPictures / known));
}

void CameraEye::end() {
    finder_.forget();
    displayed_.forget();
    pen_.reset();
    lookedSlowly_.reset();
    const std::lock_guard hold(mutex_);
    seenAt_.reset();
    scene_ = {};
    foreignLight_ = false;
    picture_ = {};
}

EyeSettings CameraEye::wanted() const {
    const std::lock_guard hold(mutex_);
    return wanted_;
}

void CameraEye::use(const EyeSettings& settings) {
    finder_.setThreshold(levelOfThreshold(static_cast<std::uint16_t>(settings.threshold)));
    const EyeSettings before = std::exchange(used_, settings);
    if (before.filterOut == settings.filterOut && before.exposure == settings.exposure)
        return;
    finder_.forget();
    displayed_.forget();
    pen_.reset();
}

CameraPoint CameraEye::unitPoint(const GreyView& picture, const Spot& spot) const {
    const PicturePoint straight = lens_.undistorted({spot.x, spot.y});
    return {(straight.x + 0.5) * kCameraWidth / picture.width,
            (straight.y + 0.5) * kCameraHeight / picture.height};
}

// In the first dark picture of a touch the pen is still where it was.
std::optional<CameraPoint> CameraEye::penIn(const GreyView& picture, Microseconds now) {
    if (const auto spot = finder_.find(picture, scaled(now, pace_)))
        pen_ = unitPoint(picture, *spot);
    else if (!finder_.penDown())
        pen_.reset();
    return pen_;
}

Scene CameraEye::displayedIn(const GreyView& picture) {
    const DisplayedLights lights = displayed_.look(picture);
    Scene scene;
    scene.darkPicture = lights.dark;
    for (const Spot& blob : lights.blobs)
        scene.blobs.push_back(unitPoint(picture, blob));
    return scene;
}

void CameraEye::take(const GreyView& picture, Microseconds now) {
    Scene scene = used_.filterOut ? displayedIn(picture) : Scene{.pen = penIn(picture, now)};
    const bool slowly = !lookedSlowly_ || now - *lookedSlowly_ >= kSlowly;
    SmallPicture small;
    bool foreignLight = false;
    if (slowly) {
        lookedSlowly_ = now;
        small = smallPicture(picture);
        foreignLight = !used_.filterOut && finder_.blindPlace().has_value();
    }
    const std::lock_guard hold(mutex_);
    seenAt_ = now;
    scene_ = std::move(scene);
    if (slowly) {
        picture_ = small;
        foreignLight_ = foreignLight;
    }
}

Scene CameraEye::look(Microseconds time) {
    const std::lock_guard hold(mutex_);
    return seenAt_ && time - *seenAt_ <= patience_ ? scene_ : Scene();
}

Picture CameraEye::picture(Microseconds /*time*/) {
    const std::lock_guard hold(mutex_);
    return picture_;
}

bool CameraEye::foreignLight(Microseconds /*time*/) {
    const std::lock_guard hold(mutex_);
    return foreignLight_;
}

// At power-up the host has set nothing yet.
void CameraEye::set(const EyeSettings& settings) {
    const std::lock_guard hold(mutex_);
    wanted_ = settings == EyeSettings() ? kAtFirst : settings;
}

} // namespace lightpen::webcam
