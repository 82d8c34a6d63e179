// SPDX-License-Identifier: MIT
// The point thread as a real thread, while the main thread changes everything that the two share.
#include <algorithm>
#include <chrono>
#include <thread>

#include "kit/device/DriverFixture.h"

namespace lightpen {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Real time, a thousand times as fast.
class FastClock final : public Clock {
public:
    Microseconds now() override {
        const auto time = std::chrono::steady_clock::now().time_since_epoch();
        return std::chrono::duration_cast<Microseconds>(time) * 1000;
    }
    void sleep(Microseconds duration) override {
        std::this_thread::sleep_for(std::chrono::duration_cast<std::chrono::nanoseconds>(duration) / 1000);
    }
};

class PointThreadConcurrencyTest : public DriverFixture {
protected:
    PointThreadConcurrencyTest() {
        Platform::setCurrent(&fastPlatform);
        desk.threads.onDetach = [this] { thread = std::thread(desk.threads.entries.back()); };
        driver->setCalibrationCenter(near);
        start();
        plugIn();
        driver->deviceDelegate(); // before any report: touches count from now on
    }
    ~PointThreadConcurrencyTest() override {
        endThread();
        Platform::setCurrent(&desk.platform);
    }

    void endThread() {
        driver->Nx9windowrelease();
        if (thread.joinable())
            thread.join();
    }
    // One turn of the main loop, with a little of the long press' time.
    void turn() { desk.runLoop.runFor(milliseconds(50)); }
    // Repeats the step on the main thread until the other one has come that far; false when it never does.
    template <typename Step, typename Reached>
    static bool repeatUntil(Reached reached, Step step) {
        const auto patience = std::chrono::steady_clock::now() + seconds(60);
        for (int i = 0; !reached(); ++i) {
            if (std::chrono::steady_clock::now() > patience)
                return false;
            step(i);
        }
        return true;
    }
    void keepPosted() {
        for (const Posted& event : desk.pointer.takePosted())
            posted.push_back(event);
    }
    std::size_t postedOf(std::uint32_t type) const {
        return static_cast<std::size_t>(
            std::count_if(posted.begin(), posted.end(), [&](const Posted& one) { return one.type == type; }));
    }
    // No press without a release since the one before it, and none left at the end; a release is where the
    // stroke was last seen or, for a long press, where it began.
    void expectWholeStrokes() const {
        bool down = false;
        IOGPoint pressed{}, last{};
        for (const Posted& event : posted) {
            if (event.type == kLeftMouseDown) {
                EXPECT_FALSE(down);
                down = true;
                pressed = event.location;
            } else if (event.type == kLeftMouseUp) {
                EXPECT_TRUE(!down || event.location == last || event.location == pressed)
                    << testing::PrintToString(event);
                down = false;
            }
            last = event.location;
        }
        EXPECT_FALSE(down);
    }

    FastClock fast;
    Platform fastPlatform{desk.registry,      desk.pointer,   desk.runLoop, fast,          desk.threads,
                          desk.notifications, desk.broadcast, desk.desktop, desk.defaults, desk.systemUI,
                          desk.sounds,        desk.dataFiles, desk.shell};
    // Two calibrations whose images of (1001, 601) lie far apart on both axes.
    std::shared_ptr<ShiftingMapper> near = std::make_shared<ShiftingMapper>(0.5);
    std::shared_ptr<ShiftingMapper> far = std::make_shared<ShiftingMapper>(0.5, ScreenPoint{1000, 500});
    std::shared_ptr<RecordingCalibration> calibration = std::make_shared<RecordingCalibration>();
    std::vector<Posted> posted;
    std::thread thread;
};

TEST_F(PointThreadConcurrencyTest, CalibrationsAreSwappedWhole) {
    const bool reached =
        repeatUntil([&] { return postedOf(kLeftMouseDown) >= 150; },
                    [&](int i) {
                        driver->setCalibrationCenter(i % 3 == 0 ? near : i % 3 == 1 ? far : nullptr);
                        unit.sendReport(i % 5 == 4 ? penUpReport() : penReport(1001, 601));
                        turn();
                        keepPosted();
                    });
    endThread();
    keepPosted();
    EXPECT_TRUE(reached);
    for (const Posted& event : posted)
        EXPECT_TRUE((event.location == IOGPoint{500, 300}) || (event.location == IOGPoint{1500, 800}))
            << testing::PrintToString(event);
    expectWholeStrokes();
}

TEST_F(PointThreadConcurrencyTest, DelegatesComeAndGoInTheMiddleOfStrokes) {
    std::vector<CameraPoint> points;
    const auto reached = [&] { return postedOf(kLeftMouseDown) >= 60 && points.size() >= 60; };
    EXPECT_TRUE(repeatUntil(reached, [&](int i) {
        switch (i % 7) {
        case 0:
            driver->setDelegate(calibration);
            break;
        case 3:
            driver->exitCalib();
            driver->setDeviceDelegate(deviceDelegate);
            break;
        default:
            driver->deviceDelegate();
        }
        unit.sendReport(i % 2 ? penUpReport() : penReport(1001 + i % 100, 601));
        turn();
        keepPosted();
        for (const CameraPoint& point : calibration->takePoints())
            points.push_back(point);
    }));
    endThread();
    keepPosted();
    for (const CameraPoint& point : points) {
        EXPECT_EQ(point.y, 601);
        EXPECT_TRUE(point.x >= 1001 && point.x <= 1100) << point.x;
    }
    expectWholeStrokes();
}

TEST_F(PointThreadConcurrencyTest, QueuesStopAndGoWhilePointsArePolled) {
    EXPECT_TRUE(repeatUntil([&] { return postedOf(kLeftMouseDown) >= 60; },
                            [&](int i) {
                                if (i % 10 == 7)
                                    driver->stopPointQueue();
                                if (i % 10 == 9)
                                    driver->startPointQueue();
                                driver->setImageProcessMode(i % 20 == 5);
                                unit.sendReport(penReport(1001 + i % 50, 601));
                                turn();
                                keepPosted();
                            }));
    endThread();
    keepPosted();
    expectWholeStrokes();
}

} // namespace
} // namespace lightpen
