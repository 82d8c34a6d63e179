// SPDX-License-Identifier: MIT
#include "emulated/SeekingHand.h"

#include "unit/room/ScreenSight.h"

namespace lightpen {

void SeekingHand::look(const Seen& seen) {
    if (eyes_.changed()) {
        const auto picture = eyes_.look();
        seen_ = picture ? targetSeen(*picture) : std::nullopt;
        if (seen_ && seen)
            seen(*picture);
    }
    if (const auto place = seeker_.look(seen_, clock_.now())) {
        play_(Hand().press(*place).stay(dwell_).lift());
        ++touches_;
    }
}

void SeekingHand::forget() {
    seeker_ = {};
    seen_.reset();
}

} // namespace lightpen
