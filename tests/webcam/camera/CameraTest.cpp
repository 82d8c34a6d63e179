// SPDX-License-Identifier: MIT
#include "webcam/camera/Camera.h"

#include <cerrno>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "webcam/camera/CameraStage.h"

namespace lightpen::webcam {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Kind = CameraProblem::Kind;
using Next = Camera::Next;
using std::chrono::milliseconds;

class CameraTest : public testing::Test {
protected:
    CameraTest() {
        fake_.modes = {{V4L2_PIX_FMT_GREY, 64, 48, {{1, 60}}}};
        fake_.addExposure();
    }
    CameraProblem open() { return camera_.open(kNode, kIdentity); }
    Next next() { return camera_.newest(picture_, milliseconds(100)); }
    bool fileIsThere() const { return std::filesystem::exists(stage_.fileOf(kIdentity)); }

    CameraStage stage_;
    FakeCamera& fake_ = stage_.camera;
    GreyPicture picture_;
    Camera camera_{stage_.video, stage_.controls, stage_.clock};
};

TEST_F(CameraTest, SendsItsNewestPictureWhileItIsOpen) {
    ASSERT_FALSE(open());
    EXPECT_TRUE(camera_.isOpen());
    EXPECT_EQ(camera_.mode(), (CameraMode{PixelFormat::grey, 64, 48, 60}));
    fake_.sendGrey(1);
    fake_.sendGrey(2);
    ASSERT_EQ(next(), Next::picture);
    EXPECT_THAT(picture_.pixels, Each(2));
    EXPECT_EQ(camera_.passedOver(), 1U);
    camera_.close();
    EXPECT_FALSE(camera_.isOpen());
    EXPECT_FALSE(fake_.streaming);
    EXPECT_THAT(stage_.log.lines(), ElementsAre("Camera: /dev/video0 sends 64 x 48 GREY at 60 a second"));
}

TEST_F(CameraTest, TimeOutIsNoPicture) {
    ASSERT_FALSE(open());
    const Microseconds before = stage_.clock.now();
    EXPECT_EQ(next(), Next::timeOut);
    EXPECT_EQ(stage_.clock.now() - before, milliseconds(100));
    fake_.sendGrey(9);
    EXPECT_EQ(next(), Next::picture);
}

TEST_F(CameraTest, APictureThatComesWhileOneWaitsIsTaken) {
    ASSERT_FALSE(open());
    fake_.onWait = [this] {
        stage_.clock.advanceTo(stage_.clock.now() + milliseconds(16));
        fake_.sendGrey(9);
    };
    EXPECT_EQ(next(), Next::picture);
    EXPECT_EQ(picture_.taken, stage_.clock.now());
}

TEST_F(CameraTest, BrokenPicturesAreCountedAndWaitedBeyond) {
    ASSERT_FALSE(open());
    int waits = 0;
    fake_.onWait = [&] {
        stage_.clock.advanceTo(stage_.clock.now() + milliseconds(16));
        if (++waits < 4)
            fake_.send({std::vector<std::uint8_t>(64)});
        else
            fake_.sendGrey(7);
    };
    EXPECT_EQ(next(), Next::picture);
    EXPECT_THAT(picture_.pixels, Each(7));
    EXPECT_EQ(camera_.broken(), 3U);
}

TEST_F(CameraTest, BrokenPicturesAloneAreATimeOut) {
    ASSERT_FALSE(open());
    fake_.onWait = [this] {
        stage_.clock.advanceTo(stage_.clock.now() + milliseconds(16));
        fake_.send({std::vector<std::uint8_t>(64)});
    };
    EXPECT_EQ(next(), Next::timeOut);
    EXPECT_EQ(camera_.broken(), 7U);
}

TEST_F(CameraTest, EachProblemIsOneClearLine) {
    const struct {
        std::function<void()> arrange;
        Kind kind;
        const char* line;
    } cases[] = {
        {[this] { fake_.gone = true; }, Kind::absent,
         "Camera: /dev/video0 is not there: no camera is plugged in"},
        {[this] { fake_.openError = EACCES; }, Kind::notPermitted,
         "Camera: /dev/video0 may not be opened by this user (the group \"video\" may)"},
        {[this] { fake_.busy = true; }, Kind::busy, "Camera: /dev/video0 is used by another program"},
        {[this] { fake_.capabilities = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING; }, Kind::notACamera,
         "Camera: /dev/video0 sends no pictures"},
        {[this] { fake_.capabilities = V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING; }, Kind::noFormat,
         "Camera: /dev/video0 sends its pictures in planes, which are not read here"},
        {[this] {
             fake_.modes = {{V4L2_PIX_FMT_NV12, 640, 480}};
         },
         Kind::noFormat, "Camera: /dev/video0 sends none of the formats GREY, YUYV and MJPG"},
        {[this] { fake_.answer = [](unsigned long, void*) { return ENOTTY; }; }, Kind::notACamera,
         "Camera: /dev/video0 is no camera"},
        {[this] {
             fake_.answer = [](unsigned long code, void*) {
                 return code == VIDIOC_STREAMON ? std::optional(ENOSPC) : std::nullopt;
             };
         },
         Kind::failed, "Camera: /dev/video0 cannot be used: its USB bus has no room for its pictures"},
    };
    const auto modes = fake_.modes;
    for (const auto& [arrange, kind, line] : cases) {
        arrange();
        EXPECT_EQ(open().kind, kind) << line;
        EXPECT_EQ(open().kind, kind) << line; // and is not told again
        EXPECT_FALSE(camera_.isOpen());
        EXPECT_THAT(stage_.log.takeLines(), ElementsAre(line));
        fake_.gone = fake_.busy = false;
        fake_.openError = 0;
        fake_.capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
        fake_.modes = modes;
        fake_.answer = nullptr;
        EXPECT_FALSE(open());
        camera_.close();
    }
}

TEST_F(CameraTest, ABusyCameraKeepsItsControls) {
    fake_.busy = true;
    EXPECT_EQ(open().kind, Kind::busy);
    EXPECT_THAT(fake_.settings, IsEmpty());
    EXPECT_FALSE(fileIsThere());
}

TEST_F(CameraTest, WhatAProgramThatStillRunsHasSetStays) {
    stage_.controls.keep(kIdentity, {{V4L2_CID_GAIN, 77}});
    fake_.busy = true;
    putBackLeftControls(stage_.video, stage_.controls, kNode, kIdentity);
    EXPECT_EQ(open().kind, Kind::busy);
    EXPECT_THAT(fake_.settings, IsEmpty());
    EXPECT_TRUE(fileIsThere());
}

TEST_F(CameraTest, ABusWithoutRoomForTheBestModeGetsTheNext) {
    fake_.modes = {{V4L2_PIX_FMT_YUYV, 1280, 720, {{1, 60}}}, {V4L2_PIX_FMT_YUYV, 640, 480, {{1, 60}}}};
    fake_.answer = [this](unsigned long code, void*) -> std::optional<int> {
        return code == VIDIOC_STREAMON && fake_.chosen.width > 640 ? std::optional(ENOSPC) : std::nullopt;
    };
    ASSERT_FALSE(open());
    EXPECT_EQ(camera_.mode(), (CameraMode{PixelFormat::yuyv, 640, 480, 60}));
    fake_.sendGrey(50);
    EXPECT_EQ(next(), Next::picture);
}

TEST_F(CameraTest, PulledOutWhileItStreamsItIsGoneAndComesBack) {
    ASSERT_FALSE(open());
    fake_.sendGrey(1);
    ASSERT_EQ(next(), Next::picture);
    fake_.onWait = [this] { fake_.gone = true; };
    EXPECT_EQ(next(), Next::gone);
    EXPECT_EQ(next(), Next::gone);
    EXPECT_TRUE(camera_.isOpen());
    camera_.close();
    EXPECT_EQ(open().kind, Kind::absent);
    fake_.gone = false;
    fake_.onWait = nullptr;
    ASSERT_FALSE(open());
    fake_.sendGrey(2);
    ASSERT_EQ(next(), Next::picture);
    EXPECT_THAT(stage_.log.lines(), ElementsAre("Camera: /dev/video0 sends 64 x 48 GREY at 60 a second",
                                                "Camera: /dev/video0 has left",
                                                "Camera: /dev/video0 is not there: no camera is plugged in",
                                                "Camera: /dev/video0 sends 64 x 48 GREY at 60 a second"));
}

TEST_F(CameraTest, GoneIsAlsoWhatTheTakingSays) {
    ASSERT_FALSE(open());
    fake_.sendGrey(1);
    fake_.answer = [](unsigned long code, void*) {
        return code == VIDIOC_DQBUF ? std::optional(ENODEV) : std::nullopt;
    };
    EXPECT_EQ(next(), Next::gone);
}

TEST_F(CameraTest, ASingleFailureIsWaitedBeyond) {
    ASSERT_FALSE(open());
    fake_.sendGrey(1);
    int failures = 0;
    fake_.answer = [&](unsigned long code, void*) {
        return code == VIDIOC_DQBUF && ++failures <= 3 ? std::optional(EIO) : std::nullopt;
    };
    EXPECT_EQ(next(), Next::picture);
}

TEST_F(CameraTest, FailuresWithoutEndAreTheEnd) {
    for (const int error : {EIO, EAGAIN}) {
        ASSERT_FALSE(open());
        fake_.sendGrey(1);
        int asked = 0;
        fake_.answer = [&](unsigned long code, void*) -> std::optional<int> {
            if (code != VIDIOC_DQBUF)
                return std::nullopt;
            ++asked;
            return error;
        };
        EXPECT_EQ(next(), Next::gone);
        EXPECT_LT(asked, 20);
        fake_.answer = nullptr;
    }
    EXPECT_THAT(stage_.log.lines(), ElementsAre("Camera: /dev/video0 fails to hand its pictures over"));
}

TEST_F(CameraTest, ACameraThatFallsSilentIsGoneAndToldOnce) {
    ASSERT_FALSE(open());
    fake_.sendGrey(1);
    ASSERT_EQ(next(), Next::picture);
    stage_.log.clear();
    for (int opening = 0; opening < 3; ++opening) {
        int waits = 0;
        while (next() == Next::timeOut)
            ++waits;
        EXPECT_EQ(waits, 29);
        ASSERT_FALSE(open());
    }
    EXPECT_THAT(stage_.log.lines(),
                ElementsAre("Camera: /dev/video0 has sent no whole picture for three seconds"));
}

TEST_F(CameraTest, TheControlsArePutBackAtTheEnd) {
    ASSERT_FALSE(open());
    camera_.expose(exposureOfSetting(23));
    EXPECT_EQ(fake_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 23);
    EXPECT_TRUE(fileIsThere());
    camera_.close();
    EXPECT_EQ(fake_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 250);
    EXPECT_EQ(fake_.value(V4L2_CID_EXPOSURE_AUTO), 3);
    EXPECT_EQ(fake_.value(V4L2_CID_EXPOSURE_AUTO_PRIORITY), 1);
    EXPECT_EQ(fake_.value(V4L2_CID_GAIN), 64);
    EXPECT_FALSE(fileIsThere());
}

TEST_F(CameraTest, TheControlsArePutBackWithTheCamera) {
    {
        Camera camera(stage_.video, stage_.controls, stage_.clock);
        ASSERT_FALSE(camera.open(kNode, kIdentity));
        camera.expose(exposureOfSetting(23));
    }
    EXPECT_EQ(fake_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 250);
}

TEST_F(CameraTest, ThePictureRateIsKeptFromTheStart) {
    ASSERT_FALSE(open());
    EXPECT_EQ(fake_.value(V4L2_CID_EXPOSURE_AUTO_PRIORITY), 0);
    camera_.expose(milliseconds(100));
    EXPECT_EQ(fake_.value(V4L2_CID_EXPOSURE_ABSOLUTE), 150);
}

TEST_F(CameraTest, WhatAProgramBeforeLeftIsPutBackAtTheStart) {
    stage_.controls.keep(kIdentity, {{V4L2_CID_GAIN, 77}});
    stage_.controls.keep("another", {{V4L2_CID_GAIN, 88}});
    putBackLeftControls(stage_.video, stage_.controls, kNode, kIdentity);
    EXPECT_EQ(fake_.value(V4L2_CID_GAIN), 77);
    EXPECT_FALSE(fileIsThere());
    EXPECT_FALSE(fake_.streaming);
    const int openings = fake_.openings;
    putBackLeftControls(stage_.video, stage_.controls, kNode, kIdentity);
    EXPECT_EQ(fake_.openings, openings);
    putBackLeftControls(stage_.video, stage_.controls, "/dev/video9", "another");
    EXPECT_TRUE(std::filesystem::exists(stage_.fileOf("another")));
}

TEST_F(CameraTest, ACameraWithoutManualExposureSaysSoOnce) {
    fake_.controls.clear();
    ASSERT_FALSE(open());
    EXPECT_FALSE(camera_.manualExposure());
    camera_.expose(exposureOfSetting(23));
    ASSERT_FALSE(open());
    EXPECT_THAT(stage_.log.lines(),
                ElementsAre("Camera: /dev/video0 has no exposure that can be set; where it is bright the pen "
                            "may not be seen"));
    fake_.addExposure();
    ASSERT_FALSE(open());
    EXPECT_TRUE(camera_.manualExposure());
    camera_.close();
    EXPECT_FALSE(camera_.manualExposure());
}

} // namespace
} // namespace lightpen::webcam
