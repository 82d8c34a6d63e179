// SPDX-License-Identifier: MIT
// The driver with a camera unit in software, in virtual time: from the plug to the pointer and back.
#include "kit/device/EmulatedUnitFixture.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class UnitLifeCycleTest : public EmulatedUnitFixture {
protected:
    // A driver that starts with a calibrated unit; before that, the unit is made so.
    CameraUnit& startCalibrated(
        std::size_t reportLength = 804, const std::function<void(CameraUnit&)>& make = [](CameraUnit&) {}) {
        CameraUnit& camera = addCamera(reportLength);
        calibrate(camera);
        make(camera);
        camera.plug();
        start();
        return camera;
    }
};

// Report lengths

class UnitLifeCycleLengthTest : public UnitLifeCycleTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(UnitLifeCycleLengthTest, FromThePlugToAPress) {
    CameraUnit& camera = startCalibrated(GetParam());
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(6));
    EXPECT_EQ(knownPoints(), flashPoints(camera));
    EXPECT_EQ(driver->venerPointsFromFlash(), 0x35);
    EXPECT_EQ(driver->cmosVerFromFlash(), 0x12);
    EXPECT_EQ(EventGeneratorNX7::wirelessPointsFromFlash(), 1);
    EXPECT_EQ(camera.firmware()->wirelessAcknowledges(), 1);
    EXPECT_EQ(camera.firmware()->operatingModeAcknowledges(), 0);
    EXPECT_TRUE(touchWorks(camera, {301, 622}));
    EXPECT_TRUE(touchWorks(camera, {1100, 97}));
}

INSTANTIATE_TEST_SUITE_P(, UnitLifeCycleLengthTest, testing::Values(32, 64, 300, 804),
                         [](const auto& parameter) { return "length" + std::to_string(parameter.param); });

TEST_F(UnitLifeCycleTest, EightBytesCutTheRecordsButNotThePen) {
    CameraUnit& camera = startCalibrated(8);
    const auto known = knownPoints();
    const auto stored = flashPoints(camera);
    ASSERT_THAT(known, SizeIs(4));
    EXPECT_EQ(known[0], stored[0]);
    EXPECT_EQ(known[1], (CameraPoint{stored[1].x, 0}));
    EXPECT_EQ(known[2], stored[2]);
    EXPECT_EQ(known[3], (CameraPoint{stored[3].x, 0}));
    EXPECT_TRUE(touchWorks(camera, {640, 400}));
}

// Flash

TEST_F(UnitLifeCycleTest, AnEmptyFlashIsFilledAndReadBackAfterAReplug) {
    CameraUnit& camera = addCamera();
    camera.information()->OPmode = 3;
    start();
    plugIn(camera);
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), IsEmpty());
    EXPECT_EQ(camera.firmware()->operatingModeAcknowledges(), 1);
    const auto written = std::make_shared<const PointList>(
        PointList{{301.7, 199.2}, {2400, 250}, {280, 1801}, {2300.5, 1700}});
    EXPECT_TRUE(driver->writeCalibrationToFlash(written));
    replug(camera);
    EXPECT_THAT(knownPoints(), ElementsAre(CameraPoint{301, 199}, CameraPoint{2400, 250},
                                           CameraPoint{280, 1801}, CameraPoint{2300, 1700}));
    EXPECT_EQ(flashPoints(camera), knownPoints());
    EXPECT_TRUE(touchWorks(camera, {900, 300}));
}

TEST_F(UnitLifeCycleTest, AnErasedFlashIsEmptyAfterAReplug) {
    CameraUnit& camera = startCalibrated();
    driver->eraseFlashAddress();
    EXPECT_FALSE(camera.flash()->calibrated());
    replug(camera);
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), IsEmpty());
}

TEST_F(UnitLifeCycleTest, ASettingsUpdateAfterACalibrationKeepsTheNewOne) {
    CameraUnit& camera = addCamera(32);
    calibrate(camera);
    // No third record: what is read has four entries, which the update would write back.
    camera.faults()->flashAnswers = FlashAnswers::yesYesNo;
    camera.plug();
    start();
    ASSERT_THAT(*driver->calibrationPointsFromFlash(), SizeIs(4));
    driver->writeCalibrationToFlash(
        std::make_shared<const PointList>(PointList{{11, 12}, {2413, 14}, {15, 1816}, {2417, 1718}}));
    driver->setThreshold(777);
    driver->updateTwoValueToDevice();
    EXPECT_EQ(camera.firmware()->settings().threshold, 777);
    EXPECT_THAT(flashPoints(camera), ElementsAre(CameraPoint{11, 12}, CameraPoint{2413, 14},
                                                 CameraPoint{15, 1816}, CameraPoint{2417, 1718}));
}

// Light during the read

class LightDuringTheReadTest : public UnitLifeCycleTest, public testing::WithParamInterface<bool> {};

TEST_P(LightDuringTheReadTest, IsNoCalibration) {
    CameraUnit& camera = startCalibrated(32, [](CameraUnit& made) {
        made.behaviour()->quietAroundCommands = GetParam();
        made.touch({640, 400});
    });
    EXPECT_EQ(knownPoints(), flashPoints(camera));
    EXPECT_EQ(EventGeneratorNX7::wirelessPointsFromFlash(), 1);
}

INSTANTIATE_TEST_SUITE_P(, LightDuringTheReadTest, testing::Bool(), [](const auto& parameter) {
    return parameter.param ? "OfAQuietUnit" : "OfOneThatDoesNotKeepQuiet";
});

TEST_F(UnitLifeCycleTest, ASilentUnitIsWaitedForUntilItIsPulled) {
    CameraUnit& camera = addCamera(32);
    camera.faults()->silent = true;
    camera.plug();
    camera.schedule(desk.clock.now() + 30s, [](CameraUnit& pulled) { pulled.unplug(); });
    const Microseconds before = desk.clock.now();
    start();
    EXPECT_GE(desk.clock.now() - before, 29s);
    run(1s);
    EXPECT_FALSE(EventGeneratorNX7::isUnitOpen());
    camera.faults()->silent = false;
    calibrate(camera);
    plugIn(camera);
    EXPECT_TRUE(touchWorks(camera, {200, 300}));
}

} // namespace
} // namespace lightpen
