// SPDX-License-Identifier: MIT
// The driver with a camera unit in software, in virtual time: from the plug to the pointer and back.
#include "kit/device/EmulatedUnitFixture.h"

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class UnitLifeCycleTest : public EmulatedUnitFixture {};

// Report lengths

class UnitLifeCycleLengthTest : public UnitLifeCycleTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(UnitLifeCycleLengthTest, FromThePlugToAPress) {
    CameraUnit& camera = addCamera(GetParam());
    calibrate(camera);
    camera.plug();
    start();
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
    CameraUnit& camera = addCamera(8);
    calibrate(camera);
    camera.plug();
    start();
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
    camera.plug();
    run(100ms);
    EXPECT_THAT(*driver->calibrationPointsFromFlash(), IsEmpty());
    EXPECT_EQ(camera.firmware()->operatingModeAcknowledges(), 1);
    const auto written = std::make_shared<const PointList>(
        PointList{{301.7, 199.2}, {2400, 250}, {280, 1801}, {2300.5, 1700}});
    EXPECT_TRUE(driver->writeCalibrationToFlash(written));
    camera.unplug();
    run(1s);
    camera.plug();
    run(100ms);
    EXPECT_THAT(knownPoints(), ElementsAre(CameraPoint{301, 199}, CameraPoint{2400, 250},
                                           CameraPoint{280, 1801}, CameraPoint{2300, 1700}));
    EXPECT_EQ(flashPoints(camera), knownPoints());
    EXPECT_TRUE(touchWorks(camera, {900, 300}));
}

TEST_F(UnitLifeCycleTest, AnErasedFlashIsEmptyAfterAReplug) {
    CameraUnit& camera = addCamera();
    calibrate(camera);
    camera.plug();
    start();
    driver->eraseFlashAddress();
    EXPECT_FALSE(camera.flash()->calibrated());
    camera.unplug();
    run(1s);
    camera.plug();
    run(100ms);
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

// Pictures and the pairing table, while the pen is on the screen

TEST_F(UnitLifeCycleTest, APictureReleasesThePenAndItsPixelsAreNoTouches) {
    CameraUnit& camera = addCamera();
    calibrate(camera);
    camera.plug();
    start();
    ASSERT_TRUE(touchWorks(camera, {640, 400}));
    camera.touch({640, 400});
    run(300ms);
    happened.clear();
    ASSERT_TRUE(driver->previewImage());
    EXPECT_THAT(happened.takeDeeds(), testing::Contains(testing::StartsWith("release ")).Times(1));
    camera.lift();
    EXPECT_TRUE(touchWorks(camera, {300, 500}));
}

TEST_F(UnitLifeCycleTest, ThePairingTableIsNoTouch) {
    CameraUnit& camera = addCamera();
    calibrate(camera);
    camera.plug();
    start();
    ASSERT_TRUE(touchWorks(camera, {640, 400}));
    desk.dataFiles.put("NX9_Wireless.bin", std::nullopt);
    happened.clear();
    driver->Nx9commd('R');
    EXPECT_EQ(desk.dataFiles.contents("NX9_Wireless.bin")->size(), 112u);
    EXPECT_THAT(happened.takeDeeds(), IsEmpty());
    EXPECT_TRUE(touchWorks(camera, {300, 500}));
}

// Light during the read

TEST_F(UnitLifeCycleTest, APenThatIsLitDuringTheReadIsNoCalibration) {
    CameraUnit& camera = addCamera(32);
    calibrate(camera);
    camera.touch({640, 400});
    camera.plug();
    start();
    EXPECT_EQ(knownPoints(), flashPoints(camera));
}

TEST_F(UnitLifeCycleTest, NorWithAUnitThatDoesNotKeepQuiet) {
    CameraUnit& camera = addCamera(32);
    calibrate(camera);
    camera.behaviour()->quietAroundCommands = false;
    camera.touch({640, 400});
    camera.plug();
    start();
    EXPECT_EQ(knownPoints(), flashPoints(camera));
    EXPECT_EQ(EventGeneratorNX7::wirelessPointsFromFlash(), 1);
}

TEST_F(UnitLifeCycleTest, SlowAnswersAreWaitedFor) {
    CameraUnit& camera = addCamera(32);
    calibrate(camera);
    camera.faults()->extraAnswerDelay = 700ms;
    camera.plug();
    start();
    EXPECT_EQ(knownPoints(), flashPoints(camera));
    EXPECT_TRUE(touchWorks(camera, {640, 400}));
}

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
    camera.plug();
    run(100ms);
    EXPECT_TRUE(touchWorks(camera, {200, 300}));
}

} // namespace
} // namespace lightpen
