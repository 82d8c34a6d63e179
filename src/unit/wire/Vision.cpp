// SPDX-License-Identifier: MIT
#include "unit/wire/Vision.h"

#include <cmath>

namespace lightpen {

void Vision::powerUp(bool filterOut) {
    *this = {};
    filterOut_ = filterOut;
}

bool Vision::moveFilter(bool out, Microseconds now, bool dark) {
    if (out == filterOut_)
        return false;
    filterOut_ = out;
    lastBlob_.reset();
    if (dark)
        movingUntil_ = now + kFilterMove;
    return true;
}

std::optional<CameraPoint> Vision::look(const Scene& scene, Microseconds now,
                                        const UnitBehaviour& behaviour) {
    if (moving(now))
        return std::nullopt;
    if (scene.pen || scene.strayLight || !filterOut_) {
        lastBlob_.reset();
        return scene.pen ? scene.pen : scene.strayLight;
    }
    return displayedSpot(scene, now, behaviour);
}

std::optional<CameraPoint> Vision::displayedSpot(const Scene& scene, Microseconds now,
                                                 const UnitBehaviour& behaviour) {
    const bool single = scene.darkPicture && scene.blobs.size() == 1;
    if (scene.blobs.empty() || (behaviour.singleBlobOnly && !single)) {
        lastBlob_.reset();
        return std::nullopt;
    }
    if (now < darkUntil_)
        return std::nullopt;
    const CameraPoint blob = scene.blobs.front();
    const bool jumped = lastBlob_ && std::hypot(blob.x - lastBlob_->x, blob.y - lastBlob_->y) > kJump;
    lastBlob_ = blob;
    if (jumped && behaviour.darkAfterJump) {
        darkUntil_ = now + kDarkAfterJump;
        return std::nullopt;
    }
    return blob;
}

} // namespace lightpen
