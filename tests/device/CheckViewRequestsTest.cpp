// SPDX-License-Identifier: MIT
#include "device/CheckViewRequests.h"

#include <gtest/gtest.h>

#include <thread>

namespace lightpen {
namespace {

TEST(CheckViewRequestsTest, TheFirstPointIsAskedForWhateverItIs) {
    for (const CameraPoint point : {CameraPoint{0, 0}, CameraPoint{-100, -100}, CameraPoint{7, 9}})
        EXPECT_TRUE(CheckViewRequests().ask(point));
}

TEST(CheckViewRequestsTest, ABurstCostsOneRequest) {
    CheckViewRequests requests;
    int posted = 0;
    for (int i = 0; i < 1000; ++i)
        posted += requests.ask({double(i), 3}) ? 1 : 0;
    EXPECT_EQ(posted, 1);
    requests.arrived();
    EXPECT_TRUE(requests.ask({1000, 3}));
}

TEST(CheckViewRequestsTest, APointThatIsShownAlreadyIsNotAskedForAgain) {
    CheckViewRequests requests;
    requests.ask({5, 6});
    requests.arrived();
    EXPECT_FALSE(requests.ask({5, 6}));
    EXPECT_TRUE(requests.ask({5, 6.5}));
    requests.arrived();
    EXPECT_TRUE(requests.ask({5, 6}));
}

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
