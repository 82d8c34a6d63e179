// SPDX-License-Identifier: MIT
#include "webcam/camera/CameraReport.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "webcam/camera/CameraStage.h"

namespace lightpen::webcam {
namespace {

using std::chrono::milliseconds;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class CameraReportTest : public testing::Test {
protected:
    CameraReportTest() {
        fake_.modes = {{V4L2_PIX_FMT_GREY, 64, 48, {{1, 50}}}, {V4L2_PIX_FMT_NV12, 64, 48}};
        fake_.addExposure();
        info_.node = kNode;
        info_.name = "Test Camera";
        info_.identity = kIdentity;
        info_.usb = "046d:0825";
        info_.driver = "uvcvideo";
        info_.modes = {{PixelFormat::grey, 64, 48, 50}};
        fake_.onWait = [this] {
            stage_.clock.advanceTo(stage_.clock.now() + milliseconds(20));
            ++sent_;
            if (sent_ % 10 == 0)
                fake_.send({std::vector<std::uint8_t>(5)});
            else
                fake_.sendGrey(200);
        };
    }
    std::string report() { return cameraReport(stage_.video, stage_.controls, stage_.clock, {info_}); }

    CameraStage stage_;
    FakeCamera& fake_ = stage_.camera;
    CameraInfo info_;
    int sent_ = 0;
};

TEST_F(CameraReportTest, SaysWhatTheCameraOffersAndWhatTwoSecondsHaveShown) {
    EXPECT_EQ(report(),
              "/dev/video0: Test Camera\n"
              "  USB: 046d:0825\n"
              "  driver: uvcvideo\n"
              "  formats: GREY NV12\n"
              "    64 x 48 GREY at 50 a second\n"
              "  controls:\n"
              "    Gain: 64 (4 to 255 by 1, default 0)\n"
              "    Auto Exposure: 3 (0 to 3 by 1, default 3)\n"
              "      1: entry 1\n"
              "      3: entry 3\n"
              "    Exposure Time, Absolute: 250 (3 to 2047 by 1, default 250)\n"
              "    Exposure, Dynamic Framerate: 1 (0 to 1 by 1, default 0)\n"
              "  sends: 64 x 48 GREY at 50 a second\n"
              "  exposure: can be set\n"
              "  measured: 90 pictures in two seconds, 45.4 a second, at most 40 ms apart and 0 ms old; "
              "10 broken, 0 passed over\n");
}

TEST_F(CameraReportTest, LeavesTheCameraAsItWas) {
    report();
    EXPECT_EQ(fake_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 250);
    EXPECT_EQ(fake_.value(V4L2_CID_EXPOSURE_AUTO), 3);
    EXPECT_EQ(fake_.value(V4L2_CID_GAIN), 64);
    EXPECT_FALSE(fake_.streaming);
}

TEST_F(CameraReportTest, HasNoSerialNumber) {
    EXPECT_THAT(report(), Not(HasSubstr("ABC123")));
}

TEST_F(CameraReportTest, SaysWhyACameraCannotBeUsed) {
    fake_.busy = true;
    EXPECT_THAT(report(), EndsWith("  cannot be used: /dev/video0 is used by another program\n"));
    fake_.openError = EACCES;
    info_.driver = info_.usb = "";
    info_.builtIn = true;
    EXPECT_EQ(report(),
              "/dev/video0: Test Camera\n"
              "  USB: no, built in\n"
              "  driver: unknown\n"
              "  cannot be used: /dev/video0 may not be opened by this user (the group \"video\" may)\n");
    EXPECT_EQ(cameraReport(stage_.video, stage_.controls, stage_.clock, {}), "There is no camera.\n");
}

TEST_F(CameraReportTest, SaysThatACameraSendsNothing) {
    fake_.onWait = nullptr;
    EXPECT_THAT(report(), EndsWith("  measured: 0 pictures in two seconds; 0 broken, 0 passed over\n"));
    fake_.onWait = [this] { fake_.gone = true; };
    EXPECT_THAT(report(), EndsWith("; 0 broken, 0 passed over\n  the camera stopped sending\n"));
}

TEST_F(CameraReportTest, ListsWithoutAnEndHaveOneHere) {
    int asked = 0;
    fake_.answer = [&](unsigned long code, void* argument) -> std::optional<int> {
        if (code == VIDIOC_ENUM_FMT) {
            ++asked;
            return 0;
        }
        if (code == VIDIOC_QUERYMENU)
            return ++asked, 0;
        if (code != VIDIOC_QUERYCTRL)
            return std::nullopt;
        auto& control = *static_cast<v4l2_queryctrl*>(argument);
        control.id = (control.id & ~V4L2_CTRL_FLAG_NEXT_CTRL) + 1;
        control.type = V4L2_CTRL_TYPE_MENU;
        control.minimum = -2'000'000'000;
        control.maximum = 2'000'000'000;
        return ++asked, 0;
    };
    report();
    EXPECT_LT(asked, 20'000);
}

TEST_F(CameraReportTest, AListThatTurnsBackEnds) {
    fake_.answer = [](unsigned long code, void* argument) -> std::optional<int> {
        if (code != VIDIOC_QUERYCTRL)
            return std::nullopt;
        static_cast<v4l2_queryctrl*>(argument)->id = 7;
        return 0;
    };
    EXPECT_THAT(report(), HasSubstr("  controls:\n    : no value (0 to 0 by 0, default 0)\n  sends"));
}

} // namespace
} // namespace lightpen::webcam
