// SPDX-License-Identifier: MIT
#include "unit/wire/Vision.h"

#include <cmath>

namespace lightpen {

void Vision::powerUp(bool filterOut) {
    *this = {};
    filterOut_ = filterOut;
}

bool Vision::moveFilter(bool out, Microseconds now) {
    if (out == filterOut_)
        return false;
    filterOut_ = out;
    lastBlob_.reset();
    movingUntil_ = now + kFilterMove;
    return true;
}

std::optional<CameraPoint> Vision::look(const Scene& scene, Microseconds now) {
    if (moving(now))
        return std::nullopt;
    if (scene.pen || scene.strayLight || !filterOut_) {
        lastBlob_.reset();
        return scene.pen ? scene.pen : scene.strayLight;
    }
    return displayedSpot(scene, now);
}

std::optional<CameraPoint> Vision::displayedSpot(const Scene& scene, Microseconds now) {
    if (!scene.darkPicture || scene.blobs.size() != 1) {
        lastBlob_.reset();
        return std::nullopt;
    }
    if (now < darkUntil_)
        return std::nullopt;
    const CameraPoint blob = scene.blobs.front();
    const bool jumped = lastBlob_ && std::hypot(blob.x - lastBlob_->x, blob.y - lastBlob_->y) > kJump;
    lastBlob_ = blob;
    if (jumped) {
        darkUntil_ = now + kDarkAfterJump;
        return std::nullopt;
    }
    return blob;
}

} // namespace lightpen
