// SPDX-License-Identifier: MIT
// A camera unit in software whose plug is pulled at every step, and put back.
#include "kit/device/EmulatedUnitFixture.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using When = UnplugPoint::When;

// The event service and the iterators of four notifications.
constexpr std::size_t kObjectsWithoutUnit = 5;

class UnplugTest : public EmulatedUnitFixture {
protected:
    UnplugTest() : camera(addCamera(32)) {
        camera.information()->OPmode = 3; // so that all kinds of commands are sent
        calibrate(camera);
    }
    // Nothing of the unit is held or awaited any more.
    void expectClosed() {
        run(100ms); // the point thread's last pass
        EXPECT_FALSE(camera.plugged());
        EXPECT_EQ(turnTaking.running(), 0) << "the point thread has ended";
        EXPECT_FALSE(EventGeneratorNX7::isUnitOpen());
        EXPECT_EQ(driver->doCommandFromOutputBuffer(), kIOReturnNoDevice);
        EXPECT_EQ(desk.registry.liveObjects(), kObjectsWithoutUnit);
    }
    void expectOpen() {
        EXPECT_EQ(knownPoints(), flashPoints(camera));
        EXPECT_TRUE(touchWorks(camera, {301, 622}));
    }
    // How many left presses and releases there were.
    static std::pair<long, long> pressesAndReleases(const std::vector<Posted>& posted) {
        const auto count = [&](std::uint32_t type) {
            return std::count_if(posted.begin(), posted.end(),
                                 [=](const Posted& event) { return event.type == type; });
        };
        return {count(kLeftMouseDown), count(kLeftMouseUp)};
    }

    CameraUnit& camera;
};

// In the exchanges of the opening

std::vector<UnplugPoint> pointsOfTheOpening() {
    std::vector<UnplugPoint> points;
    for (int request = 1; request <= 4; ++request)
        for (const UnplugPoint& point : unplugPoints('H', request, {0, 1, 5, 31}))
            points.push_back(point);
    for (const char acknowledge : {'W', 'T'}) { // which have no reply
        const auto all = unplugPoints(acknowledge, 1, {});
        points.insert(points.end(), all.begin(), all.begin() + 2);
    }
    return points;
}

class UnplugStepTest : public UnplugTest, public testing::WithParamInterface<UnplugPoint> {};

TEST_P(UnplugStepTest, OfAnArrivalEndsItAndTheNextOneWorks) {
    start();
    camera.faults()->unplug = GetParam();
    camera.plug();
    run(2s);
    expectClosed();
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add", "remove"));
    plugIn(camera);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("statMenu", "add"));
    expectOpen();
}

TEST_P(UnplugStepTest, OfTheStartEndsItAndTheNextArrivalWorks) {
    camera.faults()->unplug = GetParam();
    camera.plug();
    start();
    run(2s);
    expectClosed();
    plugIn(camera);
    expectOpen();
}

TEST_P(UnplugStepTest, WithAReplugIsMadeGood) {
    start();
    for (const Microseconds away : {Microseconds(1ms), Microseconds(30ms), Microseconds(1s)}) {
        UnplugPoint there = GetParam();
        there.replugAfter = away;
        camera.faults()->unplug = there;
        camera.plug();
        run(3s);
        expectOpen();
        camera.unplug();
        run(1s);
        expectClosed();
    }
}

INSTANTIATE_TEST_SUITE_P(, UnplugStepTest, testing::ValuesIn(pointsOfTheOpening()), nameOfUnplugPoint);

TEST_F(UnplugTest, AnyMomentOfTheOpeningIsMadeGoodByAReplug) {
    start();
    for (Microseconds moment = 0ms; moment < 3s; moment += 37ms) {
        const Microseconds pulled = desk.clock.now() + moment;
        camera.schedule(pulled, [](CameraUnit& pulledUnit) { pulledUnit.unplug(); });
        camera.schedule(pulled + 23ms, [](CameraUnit& pulledUnit) { pulledUnit.plug(); });
        camera.plug();
        run(4s);
        ASSERT_NO_FATAL_FAILURE(expectOpen()) << moment.count();
        camera.unplug();
        run(1s);
        ASSERT_EQ(desk.registry.liveObjects(), kObjectsWithoutUnit) << moment.count();
    }
}

// In the exchanges of an open unit

TEST_F(UnplugTest, AWriteEndsWithTheUnitAndTheOldCalibrationStays) {
    start();
    const auto points =
        std::make_shared<const PointList>(PointList{{11, 12}, {2413, 14}, {15, 1816}, {2417, 1718}});
    for (int record = 1; record <= 3; ++record) {
        plugIn(camera);
        const PointListRef before = driver->calibrationPointsFromFlash();
        const auto stored = flashPoints(camera);
        camera.faults()->unplug =
            UnplugPoint{.command = std::uint8_t{'C'}, .occurrence = record, .when = When::beforeCommand};
        EXPECT_FALSE(driver->writeCalibrationToFlash(points)) << record;
        EXPECT_EQ(driver->calibrationPointsFromFlash(), before) << record;
        run(1s);
        expectClosed();
        plugIn(camera);
        EXPECT_EQ(knownPoints(), flashPoints(camera)) << record;
        EXPECT_EQ(flashPoints(camera) == stored, record < 3)
            << "the unit has both records once the third is missing";
        camera.unplug();
        run(1s);
    }
}

TEST_F(UnplugTest, AnEraseOrAnUpdateEndsWithTheUnit) {
    start();
    for (const auto operation :
         {&EventGeneratorNX7::updateTwoValueToDevice, &EventGeneratorNX7::eraseFlashAddress}) {
        plugIn(camera);
        camera.faults()->unplug = UnplugPoint{.command = std::uint8_t{0}, .when = When::beforeCommand};
        (driver.get()->*operation)();
        run(1s);
        expectClosed();
    }
    plugIn(camera);
    expectOpen();
}

// In a touch

TEST_F(UnplugTest, AnyMomentOfATouchLeavesNoButtonDown) {
    start();
    for (Microseconds moment = 0ms; moment < 120ms; moment += 5ms) {
        camera.plug();
        run(1700ms);
        desk.pointer.takePosted();
        camera.touch({640, 400});
        run(moment);
        camera.unplug();
        run(1s);
        const auto [presses, releases] = pressesAndReleases(desk.pointer.takePosted());
        EXPECT_EQ(presses, releases) << moment.count();
        EXPECT_LE(presses, 1) << moment.count();
        expectClosed();
        camera.lift();
        run(3s); // longer than a long press
        EXPECT_THAT(desk.pointer.takePosted(), IsEmpty()) << "no click comes late";
    }
    plugIn(camera);
    expectOpen();
}

// Loose plugs

TEST_F(UnplugTest, AHundredQuickReplugsEndInOneOpenUnit) {
    start();
    plugIn(camera);
    deviceDelegate->takeHeard();
    for (int i = 0; i < 100; ++i) {
        camera.unplug();
        run(Microseconds(173 * i % 7000));
        camera.plug();
    }
    run(5s);
    expectOpen();
    // Those that fall into the 50 ms before a removal is reported are one.
    EXPECT_LE(deviceDelegate->takeHeard().size(), 3u * 10) << "they do not cost an opening each";
    EXPECT_EQ(desk.registry.liveObjects(), kObjectsWithoutUnit + 5);
}

} // namespace
} // namespace lightpen
