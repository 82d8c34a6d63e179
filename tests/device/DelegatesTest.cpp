// SPDX-License-Identifier: MIT
// Who hears what the driver has to say, and what setting them does. What asking for the device delegate does
// belongs to the arming.
#include "kit/device/PenFixture.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

class DelegatesTest : public PenFixture {
protected:
    // What a device delegate hears when it is set.
    Deeds heardAsSet(const std::shared_ptr<RecordingDeviceDelegate>& delegate) {
        happened.clear();
        driver->setDeviceDelegate(delegate);
        return happened.takeDeeds();
    }
};

TEST_F(DelegatesTest, AreKeptGivenBackAndLetGo) {
    auto calibration = std::make_shared<RecordingCalibration>();
    auto application = std::make_shared<EventGeneratorNX7ApplicationCallbackProtocol>();
    driver->setCalibrationCenter(nullptr);
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
    driver->setDelegate(nullptr);
    driver->setCalibrationCenter(nullptr);
    driver->setApDelegate(nullptr);
    driver->setDeviceDelegate(nullptr);
    for (const long users :
         {calibration.use_count(), mapper.use_count(), application.use_count(), deviceDelegate.use_count()})
        EXPECT_EQ(users, 1);
    EXPECT_EQ(driver->deviceDelegate(), nullptr);
}

TEST_F(DelegatesTest, TheEndOfACalibrationTakesOnlyItsDelegate) {
    driver->setDelegate(std::make_shared<RecordingCalibration>());
    EXPECT_FALSE(driver->exitCalib());
    EXPECT_EQ(driver->delegate(), nullptr);
    EXPECT_EQ(driver->calibrationCenter(), mapper);
    EXPECT_FALSE(driver->exitCalib());
}

TEST_F(DelegatesTest, OnlyTheDeviceDelegateIsLoggedAndStartsThePolling) {
    unit.plugIn();
    driver->init();
    int polls = 0;
    unit.script().onPoll = [&] { ++polls; };
    happened.clear();
    driver->setDelegate(std::make_shared<RecordingCalibration>());
    driver->setCalibrationCenter(mapper);
    driver->setApDelegate(std::make_shared<EventGeneratorNX7ApplicationCallbackProtocol>());
    driver->delegate();
    driver->calibrationCenter();
    driver->apDelegate();
    EXPECT_THAT(happened.takeAll(), IsEmpty());
    pass();
    EXPECT_EQ(polls, 0);
    driver->deviceDelegate();
    pass();
    EXPECT_EQ(polls, 1);
    unit.script().onPoll = nullptr;
}

TEST_F(DelegatesTest, ADeviceDelegateHearsOfLightWhileTheUnitStartedLikeThis) {
    openArmed();
    startAgain(penReport(1001, 601), penUpReport());
    happened.clear();
    driver->setDeviceDelegate(nullptr);
    driver->setDeviceDelegate(deviceDelegate);
    driver->setDeviceDelegate(deviceDelegate);
    EXPECT_TRUE(matchesTranscript("noise"));
}

TEST_F(DelegatesTest, NoiseWaitsForADelegateThatRespondsAndIsToldOnce) {
    openArmed();
    startAgain(penReport(1001, 601), penUpReport());
    EXPECT_THAT(heardAsSet(nullptr), IsEmpty());
    deviceDelegate->deaf = {Operation::noiseDetectedCallback};
    EXPECT_THAT(heardAsSet(deviceDelegate), IsEmpty());
    deviceDelegate->deaf = {};
    EXPECT_EQ(heardAsSet(deviceDelegate), (Deeds{"delegate noise"}));
    EXPECT_EQ(deviceDelegate->sender, driver.get());
    EXPECT_THAT(heardAsSet(deviceDelegate), IsEmpty());
}

TEST_F(DelegatesTest, StrayLightIsReportedWithTheRemovalEachTime) {
    unitAnswers.sightings = 1;
    open();
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(heardAsSet(deviceDelegate), (Deeds{"delegate noise", "delegate remove"}));
    EXPECT_THAT(heardAsSet(nullptr), IsEmpty());
    deviceDelegate->deaf = {Operation::noiseDetectedCallback, Operation::deviceDidRemoveCallback};
    EXPECT_EQ(heardAsSet(deviceDelegate), (Deeds{"delegate noise"})) << "whether it responds to it or not";
}

TEST_F(DelegatesTest, NoiseAndStrayLightTogetherAreReportedTwice) {
    openArmed();
    unitAnswers.sightings = 3;
    startAgain(penReport(1001, 601), penUpReport());
    EXPECT_EQ(heardAsSet(deviceDelegate), (Deeds{"delegate noise", "delegate noise", "delegate remove"}));
}

TEST_F(DelegatesTest, NeitherNoLightNorAnUnknownLevelIsReported) {
    EXPECT_THAT(heardAsSet(deviceDelegate), IsEmpty()) << "before the first test for it";
    open();
    EXPECT_THAT(heardAsSet(deviceDelegate), IsEmpty());
}

} // namespace
} // namespace lightpen
