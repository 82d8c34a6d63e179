// SPDX-License-Identifier: MIT
#include "unit/CameraUnit.h"

#include <algorithm>
#include <utility>

#include "unit/room/RoomPicture.h"

namespace lightpen {

CameraUnit::CameraUnit(UnitDescription description, UnitSocket* socket, const Optics& optics)
    : SoftwareUnit(std::move(description), socket, static_cast<Eye&>(*this), &wire_), optics_(optics) {}

void CameraUnit::schedule(Microseconds when, std::function<void(CameraUnit&)> action) {
    schedule(when, [this, act = std::move(action)] { act(*this); });
}

// The pen and the room

void CameraUnit::setPen(Pen pen) {
    const Hold held = holdCaughtUp();
    if (auto* playing = std::get_if<Playing>(&pen))
        playing->start = reachedTime();
    pen_ = std::move(pen);
}

void CameraUnit::touch(ScreenPoint point) {
    setPen(point);
}

void CameraUnit::spotAt(CameraPoint point) {
    setPen(point);
}

void CameraUnit::lift() {
    setPen({});
}

void CameraUnit::play(Hand hand) {
    setPen(Playing{std::move(hand), {}});
}

Microseconds CameraUnit::toPlay() const {
    const Hold held = hold();
    const auto* playing = std::get_if<Playing>(&pen_);
    if (!playing)
        return Microseconds::zero();
    return std::max(playing->start + playing->hand.duration() - currentTime(), Microseconds::zero());
}

std::optional<ScreenPoint> CameraUnit::penOnScreen(Microseconds time) const {
    const Hold held = hold();
    if (const auto* playing = std::get_if<Playing>(&pen_))
        return playing->hand.at(time - playing->start);
    if (const auto* point = std::get_if<ScreenPoint>(&pen_))
        return *point;
    return std::nullopt;
}

void CameraUnit::strayLight(std::optional<CameraPoint> light) {
    const Hold held = holdCaughtUp();
    strayLight_ = light;
}

void CameraUnit::display(DisplayedPicture picture) {
    const Hold held = holdCaughtUp();
    displayed_ = std::move(picture);
}

void CameraUnit::moveCamera(Optics optics) {
    const Hold held = holdCaughtUp();
    optics_ = optics;
}

Optics CameraUnit::optics() const {
    const Hold held = hold();
    return optics_;
}

Scene CameraUnit::scene() const {
    const Hold held = hold();
    return sceneAt(currentTime());
}

Picture CameraUnit::picture(Microseconds time) {
    return takePicture(sceneAt(time), filterOut_);
}

std::optional<CameraPoint> CameraUnit::penSeen(Microseconds time) const {
    if (const auto* point = std::get_if<CameraPoint>(&pen_))
        return *point;
    const auto onScreen = penOnScreen(time);
    return onScreen ? optics_.see(*onScreen, time) : std::nullopt;
}

Scene CameraUnit::sceneAt(Microseconds time) const {
    const Optics::Corners& screen = optics_.corners();
    Scene scene{penSeen(time),
                strayLight_,
                {},
                displayed_.dark,
                std::array{screen.topLeft, screen.topRight, screen.bottomRight, screen.bottomLeft}};
    for (const ScreenPoint& blob : displayed_.blobs)
        if (const auto seen = optics_.see(blob, time))
            scene.blobs.push_back(*seen);
    return scene;
}

} // namespace lightpen
