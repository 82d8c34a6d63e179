// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <optional>

#include "platform/Geometry.h"
#include "platform/Shared.h"

namespace lightpen {

// What the point thread asks of one check panel; each panel has its own, so that requests for one that is
// gone are told from those for its successor.
class CheckViewRequests {
public:
    // Whether showing this point has to be asked for: not while a request is under way, which will find it,
    // nor when the last one was for the same point. Point thread.
    bool ask(CameraPoint point) {
        if (asked_.load() == point)
            return false;
        asked_ = std::optional(point);
        return !underWay_.exchange(true);
    }
    // A request has arrived: what comes from now on needs another one. Main thread.
    void arrived() { underWay_.store(false); }

private:
    SharedRecord<std::optional<CameraPoint>> asked_;
    std::atomic<bool> underWay_{false};
};

} // namespace lightpen
