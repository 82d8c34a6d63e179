// SPDX-License-Identifier: MIT
#include "device/CheckViewRequests.h"

#include <gtest/gtest.h>

#include <thread>

namespace lightpen {
namespace {

// What asks, and what does not, is tested with the check view.

// Whatever the two threads do, the last point is seen by a request that comes after it.
TEST(CheckViewRequestsTest, TheLastPointOfManyIsNeverLost) {
    constexpr double kLast = 20000;
    CheckViewRequests requests;
    SharedRecord<CameraPoint> current;
    std::atomic<int> queued{0};
    std::atomic<bool> done{false};
    std::thread asking([&] {
        for (double x = 1; x <= kLast; ++x) {
            current = CameraPoint{x, 1};
            if (requests.ask({x, 1}))
                queued.fetch_add(1);
        }
        done = true;
    });
    CameraPoint shown;
    while (!done.load() || queued.load() > 0) {
        if (queued.load() == 0) {
            std::this_thread::yield();
            continue;
        }
        EXPECT_EQ(queued.fetch_sub(1), 1);
        requests.arrived();
        shown = current;
    }
    asking.join();
    EXPECT_EQ(shown, (CameraPoint{kLast, 1}));
}

} // namespace
} // namespace lightpen
