// SPDX-License-Identifier: MIT
#include "webcam/camera/CameraControls.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/Pipe.h"
#include "webcam/camera/CameraStage.h"

namespace lightpen::webcam {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class CameraControlsTest : public testing::Test {
protected:
    CameraControlsTest() { camera_.addExposure(); }
    CameraControls& open() {
        controls_ = nullptr;
        opened_ = stage_.video.open(kNode);
        controls_ = std::make_unique<CameraControls>(*opened_.device, stage_.controls, kIdentity);
        return *controls_;
    }
    bool fileIsThere() const { return std::filesystem::exists(stage_.fileOf(kIdentity)); }
    std::vector<std::int32_t> values() const {
        std::vector<std::int32_t> all;
        for (const auto& [id, control] : camera_.controls)
            all.push_back(control.value);
        return all;
    }

    CameraStage stage_;
    FakeCamera& camera_ = stage_.camera;
    OpenedVideo opened_;
    std::unique_ptr<CameraControls> controls_;
};

TEST_F(CameraControlsTest, ASettingOfTheUnitIsATenthOfAMillisecondEach) {
    EXPECT_EQ(exposureOfSetting(46), milliseconds(4) + Microseconds(600));
    EXPECT_EQ(exposureOfSetting(23), Microseconds(2300));
    EXPECT_EQ(exposureOfSetting(12), Microseconds(1200));
    EXPECT_EQ(exposureOfSetting(0), Microseconds(100));
    EXPECT_EQ(exposureOfSetting(-5), Microseconds(100));
}

TEST_F(CameraControlsTest, LookingChangesNothing) {
    EXPECT_TRUE(open().manualExposure());
    EXPECT_THAT(camera_.settings, IsEmpty());
    controls_->putBack();
    EXPECT_THAT(camera_.settings, IsEmpty());
    EXPECT_FALSE(fileIsThere());
}

TEST_F(CameraControlsTest, ATimeIsSetByHandWithLittleGain) {
    EXPECT_TRUE(open().expose(exposureOfSetting(23), 60));
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_AUTO), V4L2_EXPOSURE_MANUAL);
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_AUTO_PRIORITY), 0);
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 23);
    EXPECT_EQ(camera_.value(V4L2_CID_GAIN), 4);
}

TEST_F(CameraControlsTest, ATimeNeverTakesPicturesAway) {
    open().expose(milliseconds(100), 60);
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 150);
    controls_->expose(milliseconds(100), 120);
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 75);
    controls_->expose(milliseconds(100), 0);
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 300);
}

TEST_F(CameraControlsTest, ATimeKeepsToTheRangeAndTheSteps) {
    auto& exposure = camera_.controls[V4L2_CID_EXPOSURE_ABSOLUTE];
    open().expose(exposureOfSetting(1), 60);
    EXPECT_EQ(exposure.value, 3);
    exposure.least = 5;
    exposure.most = 28;
    exposure.step = 10;
    exposure.value = 5;
    open().expose(exposureOfSetting(22), 60);
    EXPECT_EQ(exposure.value, 25);
    controls_->expose(exposureOfSetting(255), 60);
    EXPECT_EQ(exposure.value, 25); // no step ends at 28
}

TEST_F(CameraControlsTest, TheRoomIsTheCamerasOwnChoiceButForTheRate) {
    open().expose(exposureOfSetting(23), 60);
    controls_->expose(std::nullopt, 60);
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_AUTO), V4L2_EXPOSURE_APERTURE_PRIORITY);
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_AUTO_PRIORITY), 0);
    EXPECT_EQ(camera_.value(V4L2_CID_GAIN), 64);
}

TEST_F(CameraControlsTest, TheRoomIsAutomaticAlsoWhereThatWasNotFound) {
    camera_.controls[V4L2_CID_EXPOSURE_AUTO].value = V4L2_EXPOSURE_MANUAL;
    open().expose(std::nullopt, 60);
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_AUTO), V4L2_EXPOSURE_APERTURE_PRIORITY);
    controls_->putBack();
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_AUTO), V4L2_EXPOSURE_MANUAL);
}

TEST_F(CameraControlsTest, AllIsPutBackAsItWasFound) {
    const auto before = values();
    open().expose(exposureOfSetting(23), 60);
    EXPECT_NE(values(), before);
    EXPECT_TRUE(fileIsThere());
    controls_->putBack();
    // The time is the camera's own again, so what it is put back to only holds until the next picture.
    EXPECT_EQ(values(), before);
    EXPECT_FALSE(fileIsThere());
}

TEST_F(CameraControlsTest, ATimeByHandIsPutBackFromTheRoomToo) {
    camera_.controls[V4L2_CID_EXPOSURE_AUTO].value = V4L2_EXPOSURE_MANUAL;
    camera_.controls[V4L2_CID_EXPOSURE_ABSOLUTE].value = 333;
    const auto before = values();
    open().expose(exposureOfSetting(23), 60);
    controls_->expose(std::nullopt, 60);
    controls_->putBack();
    EXPECT_EQ(values(), before);
}

TEST_F(CameraControlsTest, PuttingBackTwiceDoesNothingMore) {
    open().expose(exposureOfSetting(23), 60);
    controls_->putBack();
    camera_.settings.clear();
    controls_->putBack();
    EXPECT_THAT(camera_.settings, IsEmpty());
}

TEST_F(CameraControlsTest, TheFileIsThereBeforeTheFirstChange) {
    bool before = true;
    open();
    camera_.answer = [&](unsigned long code, void*) -> std::optional<int> {
        before = before && (code != VIDIOC_S_CTRL || fileIsThere());
        return std::nullopt;
    };
    controls_->expose(exposureOfSetting(23), 60);
    EXPECT_TRUE(before);
    EXPECT_FALSE(camera_.settings.empty());
}

TEST_F(CameraControlsTest, ACameraThatLeftIsPutBackWhenItIsThereAgain) {
    const auto before = values();
    open().expose(exposureOfSetting(23), 60);
    camera_.gone = true;
    controls_->putBack();
    EXPECT_TRUE(fileIsThere());
    camera_.gone = false;
    open();
    EXPECT_EQ(values(), before);
    EXPECT_FALSE(fileIsThere());
    // What is found now is what was found then.
    controls_->expose(exposureOfSetting(46), 60);
    controls_->putBack();
    EXPECT_EQ(values(), before);
}

TEST_F(CameraControlsTest, AKilledProgramIsMadeGoodByTheNext) {
    const auto before = values();
    Pipe pipe;
    const pid_t program = fork();
    ASSERT_GE(program, 0);
    if (program == 0) {
        open().expose(exposureOfSetting(23), 60);
        // The camera is not this process's: it keeps what was set.
        for (const std::int32_t value : values())
            if (write(pipe.writeEnd(), &value, sizeof value) != sizeof value)
                _exit(1);
        for (;;)
            pause();
    }
    std::vector<std::int32_t> left(before.size());
    for (std::int32_t& value : left)
        ASSERT_EQ(read(pipe.readEnd(), &value, sizeof value), ssize_t{sizeof value});
    kill(program, SIGKILL);
    waitpid(program, nullptr, 0);
    ASSERT_NE(left, before);
    auto value = left.begin();
    for (auto& [id, control] : camera_.controls)
        control.value = *value++;
    EXPECT_TRUE(fileIsThere());
    open();
    EXPECT_EQ(values(), before);
    EXPECT_FALSE(fileIsThere());
}

TEST_F(CameraControlsTest, AFileNamesNoControlThatIsNotChangedHere) {
    constexpr std::uint32_t kPan = V4L2_CID_PAN_ABSOLUTE;
    camera_.controls[kPan] = {.least = -100, .most = 100};
    stage_.controls.keep(kIdentity, {{kPan, 50}, {V4L2_CID_GAIN, 70}});
    open();
    EXPECT_THAT(camera_.settings, ElementsAre(Pair(V4L2_CID_GAIN, 70)));
}

TEST_F(CameraControlsTest, ACameraThatOnlyChoosesItselfHasNoManualExposure) {
    camera_.controls[V4L2_CID_EXPOSURE_AUTO].entries = {3};
    EXPECT_FALSE(open().manualExposure());
    EXPECT_FALSE(controls_->expose(exposureOfSetting(23), 60));
    // It is kept from halving its rate all the same.
    EXPECT_THAT(camera_.settings, ElementsAre(Pair(V4L2_CID_EXPOSURE_AUTO_PRIORITY, 0)));
}

TEST_F(CameraControlsTest, ACameraWithoutControlsIsLeftAlone) {
    camera_.controls.clear();
    EXPECT_FALSE(open().manualExposure());
    EXPECT_FALSE(controls_->expose(exposureOfSetting(23), 60));
    controls_->expose(std::nullopt, 60);
    EXPECT_FALSE(fileIsThere());
}

TEST_F(CameraControlsTest, ControlsThatMayNotBeSetAreNone) {
    camera_.controls[V4L2_CID_EXPOSURE_ABSOLUTE].flags = V4L2_CTRL_FLAG_READ_ONLY;
    EXPECT_FALSE(open().manualExposure());
    camera_.controls[V4L2_CID_EXPOSURE_ABSOLUTE].flags = V4L2_CTRL_FLAG_DISABLED;
    EXPECT_FALSE(open().manualExposure());
    camera_.controls[V4L2_CID_EXPOSURE_ABSOLUTE].flags = V4L2_CTRL_FLAG_INACTIVE;
    EXPECT_TRUE(open().manualExposure());
    camera_.controls[V4L2_CID_EXPOSURE_ABSOLUTE].least = 3000; // above its most
    EXPECT_FALSE(open().manualExposure());
}

TEST_F(CameraControlsTest, AStepOfNothingIsOne) {
    camera_.controls[V4L2_CID_EXPOSURE_ABSOLUTE].step = 1;
    camera_.answer = [this](unsigned long code, void* argument) -> std::optional<int> {
        if (code != VIDIOC_QUERYCTRL)
            return std::nullopt;
        auto& told = *static_cast<v4l2_queryctrl*>(argument);
        const auto found = camera_.controls.find(told.id);
        if (found == camera_.controls.end())
            return EINVAL;
        told.minimum = found->second.least;
        told.maximum = found->second.most;
        told.step = 0;
        return 0;
    };
    EXPECT_TRUE(open().expose(exposureOfSetting(23), 60));
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 23);
}

TEST_F(CameraControlsTest, TheOlderControlIsAShareOfThePicturesTime) {
    camera_.controls.clear();
    camera_.controls[V4L2_CID_EXPOSURE] = {.most = 255, .value = 120};
    camera_.controls[V4L2_CID_AUTOGAIN] = {.most = 1, .value = 1};
    camera_.controls[V4L2_CID_GAIN] = {.most = 63, .value = 20};
    const auto before = values();
    EXPECT_TRUE(open().expose(milliseconds(5), 60));
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE), 85); // a third of 15 ms
    EXPECT_EQ(camera_.value(V4L2_CID_AUTOGAIN), 0);
    EXPECT_EQ(camera_.value(V4L2_CID_GAIN), 0);
    controls_->putBack();
    EXPECT_EQ(values(), before);
}

TEST_F(CameraControlsTest, WithNothingAutomaticTheRoomIsAsBrightAsCanBe) {
    camera_.controls.clear();
    camera_.controls[V4L2_CID_EXPOSURE_ABSOLUTE] = {.least = 1, .most = 10'000, .value = 40};
    EXPECT_TRUE(open().expose(std::nullopt, 60));
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 150);
}

TEST_F(CameraControlsTest, WithoutAFileTheControlsAreSetAndPutBackAllTheSame) {
    writeFile(stage_.folder.file("plain"), "");
    const ControlsFile nowhere(stage_.files, stage_.folder.file("plain"));
    const auto before = values();
    opened_ = stage_.video.open(kNode);
    CameraControls controls(*opened_.device, nowhere, kIdentity);
    EXPECT_TRUE(controls.expose(exposureOfSetting(23), 60));
    EXPECT_EQ(camera_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 23);
    controls.putBack();
    EXPECT_EQ(values(), before);
}

} // namespace
} // namespace lightpen::webcam
