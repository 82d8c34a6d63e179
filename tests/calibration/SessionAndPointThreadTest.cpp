// SPDX-License-Identifier: MIT
// A session with the driver's point thread: what one thread delivers while the other goes on.
#include <atomic>
#include <thread>

#include "kit/calibration/SessionFixture.h"
#include "kit/device/DriverFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SessionAndPointThreadTest : public SessionFixture {
protected:
    // Armed: the reports of the first passes are thrown away.
    SessionAndPointThreadTest() {
        openUnit();
        for (int pass = 0; pass < 6; ++pass)
            passOn(penUpReport());
        driver->pointThreadPass(*thread);
        EXPECT_TRUE(EventGeneratorNX7::hearsPen());
        center->setTotalPoints(4);
        happened.clear();
    }

    void passOn(const ReportBytes& report) {
        unit.sendReport(report);
        driver->pointThreadPass(*thread);
    }
};

TEST_F(SessionAndPointThreadTest, TouchThatNeverLiftsIsOnePoint) {
    center->startCalibration();
    for (int i = 0; i < 50; ++i) {
        passOn(penReport(301 + 30 * i, 401));
        desk.runLoop.runFor(kGlide);
    }
    EXPECT_THAT(*center->calibrationPoints(), ElementsAre(CameraPoint{301, 401}));
    EXPECT_EQ(targetOrigin(), (WindowPoint{1740, 995}));
    EXPECT_THAT(desk.pointer.takePosted(), IsEmpty());
}

TEST_F(SessionAndPointThreadTest, TouchThatLiftsAndComesBackIsTheNextPoint) {
    center->startCalibration();
    for (const auto& [x, y] : {std::pair{301, 271}, {2201, 188}, {165, 1633}, {2391, 1702}}) {
        passOn(penReport(x, y));
        desk.runLoop.runFor(kGlide);
        passOn(penUpReport());
    }
    ASSERT_EQ(completed.size(), 1u);
    EXPECT_THAT(*completed.front(), ElementsAre(CameraPoint{301, 271}, CameraPoint{2201, 188},
                                                CameraPoint{165, 1633}, CameraPoint{2391, 1702}));
}

TEST_F(SessionAndPointThreadTest, EscapeHandsThePenBackToThePointer) {
    store({{170, 75}, {1750, 75}, {170, 1005}, {1750, 1005}});
    driver->setCalibrationCenter(center);
    desk.registry.publish({"IOHIDSystem", "IOService:/IOHIDSystem", {}, {}});
    center->startCalibration();
    passOn(penReport(301, 401));
    passOn(penUpReport());
    EXPECT_THAT(desk.pointer.takePosted(), IsEmpty());
    window()->keyDown(53);
    passOn(penReport(301, 401));
    const auto posted = desk.pointer.takePosted();
    ASSERT_FALSE(posted.empty());
    EXPECT_EQ(posted.front().location, (IOGPoint{301, 401}));
}

// The point thread never waits; the main thread starts, cancels and completes sessions under it.
TEST_F(SessionAndPointThreadTest, ThreadsMeetInEveryMomentOfASession) {
    log.onLine = nullptr; // the fixture's timeline belongs to one thread
    desk.sounds.onPlay = nullptr;
    constexpr int kEnds = 4; // sessions of each kind of end
    std::atomic<bool> stop = false;
    std::atomic<int> passes = 0;
    std::thread point([&] {
        for (int i = 0; !stop; ++i) {
            passOn(penReport(101 + i * 37 % 2400, 101 + i * 53 % 1700));
            passOn(penUpReport());
            center->mapPointFrom({1000, 700});
            ++passes;
            passes.notify_one();
        }
    });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(100);
    int canceledSessions = 0;
    while ((static_cast<int>(completed.size()) < kEnds || canceledSessions < kEnds) &&
           std::chrono::steady_clock::now() < deadline) {
        const bool cancels =
            canceledSessions < kEnds && completed.size() > static_cast<std::size_t>(canceledSessions);
        if (completed.size() % 2 == 0)
            center->startCalibration();
        else
            center->startAutoCalibration();
        const std::size_t before = completed.size();
        for (int slice = 0; completed.size() == before && slice < 2000; ++slice) {
            const int seen = passes;
            desk.runLoop.runFor(std::chrono::milliseconds(100));
            passes.wait(seen);
            log.clear();
            if (cancels && completed.size() == before && !center->calibrationPoints()->empty()) {
                window()->keyDown(53);
                ++canceledSessions;
                break;
            }
        }
        center->setTotalPoints(4);
    }
    stop = true;
    point.join();
    EXPECT_GE(completed.size(), static_cast<std::size_t>(kEnds));
    EXPECT_EQ(canceledSessions, kEnds);
    for (const PointListRef& points : completed)
        EXPECT_EQ(points->size(), 4u);
}

} // namespace
} // namespace lightpen
