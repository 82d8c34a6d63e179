// SPDX-License-Identifier: MIT
// Who hears what the driver has to say, and what asking and setting them does.
#include "kit/device/DriverFixture.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DelegatesTest : public DriverFixture {};

// Accessors

TEST_F(DelegatesTest, AreKeptGivenBackAndLetGo) {
    auto calibration = std::make_shared<RecordingCalibration>();
    auto mapper = std::make_shared<ShiftingMapper>();
    auto application = std::make_shared<EventGeneratorNX7ApplicationCallbackProtocol>();
    EXPECT_EQ(driver->delegate(), nullptr);
    EXPECT_EQ(driver->calibrationCenter(), nullptr);
    EXPECT_EQ(driver->apDelegate(), nullptr);
    driver->setDelegate(calibration);
    driver->setCalibrationCenter(mapper);
    driver->setApDelegate(application);
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_EQ(driver->delegate(), calibration);
    EXPECT_EQ(driver->calibrationCenter(), mapper);
    EXPECT_EQ(driver->apDelegate(), application);
    EXPECT_EQ(driver->deviceDelegate(), deviceDelegate);
    EXPECT_EQ(calibration.use_count(), 2);
    driver->setDelegate(nullptr);
    driver->setCalibrationCenter(nullptr);
    driver->setApDelegate(nullptr);
    driver->setDeviceDelegate(nullptr);
    EXPECT_EQ(calibration.use_count(), 1);
    EXPECT_EQ(mapper.use_count(), 1);
    EXPECT_EQ(application.use_count(), 1);
    EXPECT_EQ(deviceDelegate.use_count(), 1);
    EXPECT_EQ(driver->deviceDelegate(), nullptr);
}

TEST_F(DelegatesTest, TheEndOfACalibrationTakesOnlyItsDelegate) {
    driver->setDelegate(std::make_shared<RecordingCalibration>());
    driver->setCalibrationCenter(std::make_shared<ShiftingMapper>());
    EXPECT_FALSE(driver->exitCalib());
    EXPECT_EQ(driver->delegate(), nullptr);
    EXPECT_NE(driver->calibrationCenter(), nullptr);
    EXPECT_FALSE(driver->exitCalib());
}

TEST_F(DelegatesTest, OnlyTheDeviceDelegateIsLoggedAndStartsThePolling) {
    driver->setDelegate(std::make_shared<RecordingCalibration>());
    driver->setCalibrationCenter(std::make_shared<ShiftingMapper>());
    driver->setApDelegate(std::make_shared<EventGeneratorNX7ApplicationCallbackProtocol>());
    driver->delegate();
    driver->calibrationCenter();
    driver->apDelegate();
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_EQ(sharedState.deviceDelegateQueried, 0);
}

// What asking for the device delegate does

TEST_F(DelegatesTest, EachQuestionArmsAsTheUnitIsOpenUnlessPassesAreCounted) {
    struct Case {
        int unitOpen, count, armedBefore, armedAfter;
    };
    for (const Case& one : {Case{1, 0, 0, 1}, Case{0, 0, 1, 0}, Case{1, -1, 0, 1}, Case{1, 1, 1, 0},
                            Case{1, 6, 0, 0}, Case{0, 3, 1, 0}}) {
        sharedState.unitOpen = one.unitOpen;
        sharedState.disarmedPollCount = one.count;
        sharedState.mouseArmed = one.armedBefore;
        sharedState.deviceDelegateQueried = 0;
        driver->deviceDelegate();
        EXPECT_EQ(sharedState.deviceDelegateQueried, 1);
        EXPECT_EQ(sharedState.mouseArmed, one.armedAfter) << one.unitOpen << ", " << one.count;
        EXPECT_EQ(sharedState.disarmedPollCount, one.count);
    }
}

// What setting it does

TEST_F(DelegatesTest, SettingTheDeviceDelegateAsksForIt) {
    sharedState.unitOpen = 1;
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_EQ(sharedState.deviceDelegateQueried, 1);
    EXPECT_EQ(sharedState.mouseArmed, 1);
    EXPECT_THAT(log.lines(), ElementsAre("Event n:721 _hasNoise:0, has implement:1"));
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
}

TEST_F(DelegatesTest, NoiseIsReportedOnceToTheNextDelegate) {
    driver->_hasNoise = true;
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_THAT(log.takeLines(),
                ElementsAre("Event n:721 _hasNoise:1, has implement:1", "Event n:724 Noise Detected."));
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("noise"));
    EXPECT_EQ(deviceDelegate->sender, driver.get());
    EXPECT_FALSE(driver->_hasNoise);
    driver->setDeviceDelegate(deviceDelegate); // the same again
    EXPECT_THAT(log.takeLines(), ElementsAre("Event n:721 _hasNoise:0, has implement:1"));
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
}

TEST_F(DelegatesTest, NoiseWaitsForADelegateThatResponds) {
    driver->_hasNoise = true;
    driver->setDeviceDelegate(nullptr);
    deviceDelegate->deaf = {Operation::noiseDetectedCallback};
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_THAT(log.lines(), ElementsAre("Event n:721 _hasNoise:1, has implement:0",
                                         "Event n:721 _hasNoise:1, has implement:0"));
    EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
    EXPECT_TRUE(driver->_hasNoise);
}

TEST_F(DelegatesTest, StrayLightIsReportedWithTheRemoval) {
    sharedState.strayLightLevel = 1;
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("noise", "remove"));
    EXPECT_THAT(log.lines(), ElementsAre("Event n:721 _hasNoise:0, has implement:1"));
}

TEST_F(DelegatesTest, StrayLightIsToldToWhoDoesNotRespondToNoiseToo) {
    sharedState.strayLightLevel = 50;
    deviceDelegate->deaf = {Operation::noiseDetectedCallback, Operation::deviceDidRemoveCallback};
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("noise"));
    driver->setDeviceDelegate(nullptr); // and nobody is nobody
}

TEST_F(DelegatesTest, NoiseAndStrayLightTogetherAreReportedTwice) {
    driver->_hasNoise = true;
    sharedState.strayLightLevel = 3;
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_THAT(deviceDelegate->takeHeard(), ElementsAre("noise", "noise", "remove"));
}

TEST_F(DelegatesTest, NeitherNoLightNorAnUnknownLevelIsReported) {
    for (const int level : {0, -1}) {
        sharedState.strayLightLevel = level;
        driver->setDeviceDelegate(deviceDelegate);
        EXPECT_THAT(deviceDelegate->takeHeard(), IsEmpty());
    }
}

} // namespace
} // namespace lightpen
