// SPDX-License-Identifier: MIT
#include "webcam/CameraEye.h"

#include <algorithm>
#include <cmath>
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
// A light that stays is found at most so far from where it was, in the unit's coordinates.
constexpr double kStays = 12;

Microseconds scaled(Microseconds time, double factor) {
    return Microseconds(static_cast<Microseconds::rep>(static_cast<double>(time.count()) * factor));
}

// A place of a picture of this size in the unit's coordinates.
CameraPoint unitPoint(const LensModel& lens, PicturePoint place, int width, int height) {
    const PicturePoint straight = lens.undistorted(place);
    return {(straight.x + 0.5) * kCameraWidth / width, (straight.y + 0.5) * kCameraHeight / height};
}

} // namespace

void CameraEye::begin(double rate) {
    end();
    const double known = rate > 0 ? rate : kUnknownRate;
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
    watched_.reset();
}

EyeSettings CameraEye::wanted() const {
    const std::lock_guard hold(mutex_);
    EyeSettings wanted = wanted_;
    wanted.filterOut = wanted.filterOut || watching_;
    return wanted;
}

void CameraEye::correct(const SightCorrection& correction) {
    const std::lock_guard hold(mutex_);
    correction_ = correction;
}

SightCorrection CameraEye::correction() const {
    const std::lock_guard hold(mutex_);
    return correction_;
}

void CameraEye::watch(bool on) {
    const std::lock_guard hold(mutex_);
    watching_ = on;
    watched_.reset();
    scene_ = {};
}

std::optional<CameraEye::Watched> CameraEye::watched() const {
    const std::lock_guard hold(mutex_);
    return watched_;
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

// In the first dark picture of a touch the pen is still where it was.
std::optional<CameraPoint> CameraEye::penIn(const GreyView& picture, Microseconds now,
                                            const SightCorrection& correction) {
    if (forgetShown_.exchange(false))
        finder_.forgetShown();
    if (const auto spot = finder_.find(picture, scaled(now, pace_))) {
        const LensModel lens(picture.width, picture.height, correction.lens);
        const CameraPoint seen = unitPoint(lens, {spot->x, spot->y}, picture.width, picture.height);
        pen_ = {seen.x - correction.lamp.x, seen.y - correction.lamp.y};
    } else if (!finder_.penDown()) {
        pen_.reset();
    }
    return pen_;
}

Scene CameraEye::sceneOf(const SeenLights& lights, const LensModel& lens) {
    Scene scene;
    scene.darkPicture = lights.dark;
    for (const PicturePoint& blob : lights.blobs)
        scene.blobs.push_back(unitPoint(lens, blob, lights.width, lights.height));
    return scene;
}

// Under the lock. Whether lights may be shown to the unit now: those that it has seen before, or others after
// it has seen none.
bool CameraEye::goesOn(const std::vector<CameraPoint>& blobs) const {
    return looksSince_ >= kLooksBetween ||
           std::ranges::equal(blobs, toldBlobs_, [](const CameraPoint& a, const CameraPoint& b) {
               return std::hypot(a.x - b.x, a.y - b.y) <= kStays;
           });
}

void CameraEye::take(const GreyView& picture, Microseconds now) {
    const SightCorrection correction = this->correction();
    SeenLights lights{.width = picture.width, .height = picture.height};
    Scene scene;
    if (used_.filterOut) {
        const DisplayedLights displayed = displayed_.look(picture);
        lights.dark = displayed.dark;
        for (const Spot& blob : displayed.blobs)
            lights.blobs.push_back({blob.x, blob.y});
        scene = sceneOf(lights, LensModel(picture.width, picture.height, correction.lens));
    } else {
        scene.pen = penIn(picture, now, correction);
    }
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
    scene_ = watching_ ? Scene() : std::move(scene);
    if (!goesOn(scene_.blobs))
        scene_.blobs.clear();
    if (!scene_.blobs.empty()) {
        toldBlobs_ = scene_.blobs;
        looksSince_ = 0;
    }
    if (watching_ && used_.filterOut)
        watched_ = Watched{watched_ ? watched_->number + 1 : 1, std::move(lights)};
    if (slowly) {
        picture_ = small;
        foreignLight_ = foreignLight;
    }
}

Scene CameraEye::look(Microseconds time) {
    const std::lock_guard hold(mutex_);
    Scene seen = seenAt_ && time - *seenAt_ <= patience_ ? scene_ : Scene();
    if (seen.blobs.empty())
        looksSince_ = std::min(looksSince_ + 1, kLooksBetween);
    return seen;
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
