// SPDX-License-Identifier: MIT
#include "webcam/camera/VideoModes.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "webcam/camera/CameraStage.h"

namespace lightpen::webcam {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class VideoModesTest : public testing::Test {
protected:
    std::vector<CameraMode> modes() {
        const OpenedVideo opened = stage_.video.open(kNode);
        return modesOf(*opened.device);
    }
    std::optional<VideoNode> node(int& error) {
        const OpenedVideo opened = stage_.video.open(kNode);
        return nodeOf(*opened.device, error);
    }
    // Answers one kind of request.
    template <class Argument>
    void answer(unsigned long code, std::function<int(Argument&)> answer) {
        stage_.camera.answer = [code, answer](unsigned long asked, void* argument) -> std::optional<int> {
            return asked == code ? std::optional(answer(*static_cast<Argument*>(argument))) : std::nullopt;
        };
    }
    CameraStage stage_;
    FakeCamera& camera_ = stage_.camera;
};

TEST_F(VideoModesTest, ListsWhatIsReadHereTheBestFirst) {
    camera_.modes = {{V4L2_PIX_FMT_YUYV, 640, 480, {{1, 30}, {1, 15}}},
                     {V4L2_PIX_FMT_YUYV, 1280, 720, {{1, 10}}},
                     {V4L2_PIX_FMT_NV12, 1280, 720, {{1, 120}}},
                     {V4L2_PIX_FMT_MJPEG, 1280, 720, {{1, 60}, {1, 30}}},
                     {V4L2_PIX_FMT_MJPEG, 640, 480, {{1, 120}}}};
    EXPECT_THAT(modes(), ElementsAre(CameraMode{PixelFormat::mjpeg, 1280, 720, 60},
                                     CameraMode{PixelFormat::mjpeg, 640, 480, 120},
                                     CameraMode{PixelFormat::mjpeg, 1280, 720, 30},
                                     CameraMode{PixelFormat::yuyv, 640, 480, 30},
                                     CameraMode{PixelFormat::yuyv, 640, 480, 15},
                                     CameraMode{PixelFormat::yuyv, 1280, 720, 10}));
}

TEST_F(VideoModesTest, ACameraWithoutThemHasNoModes) {
    camera_.modes = {{V4L2_PIX_FMT_NV12, 640, 480}, {V4L2_PIX_FMT_H264, 1920, 1080}};
    EXPECT_THAT(modes(), IsEmpty());
    camera_.modes = {};
    EXPECT_THAT(modes(), IsEmpty());
}

TEST_F(VideoModesTest, RatesThatMakeNoSenseAreNotTold) {
    camera_.modes = {{V4L2_PIX_FMT_GREY, 640, 480, {{0, 0}, {0, 30}, {1, 0}, {1, 4'000'000'000}, {1, 50}}},
                     {V4L2_PIX_FMT_GREY, 320, 240, {{0, 0}}}};
    EXPECT_THAT(modes(), ElementsAre(CameraMode{PixelFormat::grey, 640, 480, 50},
                                     CameraMode{PixelFormat::grey, 320, 240, 0}));
}

TEST_F(VideoModesTest, SizesThatMakeNoSenseAreLeftOut) {
    camera_.modes = {{V4L2_PIX_FMT_GREY, 0, 0},
                     {V4L2_PIX_FMT_GREY, 640, 0},
                     {V4L2_PIX_FMT_GREY, 4'000'000'000, 480},
                     {V4L2_PIX_FMT_GREY, 640, 8193},
                     {V4L2_PIX_FMT_GREY, 640, 480}};
    EXPECT_THAT(modes(), ElementsAre(CameraMode{PixelFormat::grey, 640, 480, 30}));
}

TEST_F(VideoModesTest, ListsWithoutAnEndHaveOneHere) {
    int asked = 0;
    camera_.answer = [&](unsigned long code, void* argument) -> std::optional<int> {
        ++asked;
        if (code == VIDIOC_ENUM_FMT)
            static_cast<v4l2_fmtdesc*>(argument)->pixelformat = V4L2_PIX_FMT_YUYV;
        else if (code == VIDIOC_ENUM_FRAMESIZES) {
            auto& size = *static_cast<v4l2_frmsizeenum*>(argument);
            size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
            size.discrete = {size.index + 1, size.index + 1};
        } else if (code == VIDIOC_ENUM_FRAMEINTERVALS) {
            auto& interval = *static_cast<v4l2_frmivalenum*>(argument);
            interval.type = V4L2_FRMIVAL_TYPE_DISCRETE;
            interval.discrete = {1, interval.index + 1};
        } else
            return std::nullopt;
        return 0;
    };
    EXPECT_THAT(modes(), SizeIs(128 * 64));
    EXPECT_LT(asked, 10'000);
}

TEST_F(VideoModesTest, ACameraOfAnySizeIsAskedForTheUsualOnes) {
    camera_.modes = {{V4L2_PIX_FMT_YUYV, 1280, 720, {{1, 30}}}, {V4L2_PIX_FMT_YUYV, 640, 480, {{1, 60}}}};
    answer<v4l2_frmsizeenum>(VIDIOC_ENUM_FRAMESIZES, [](v4l2_frmsizeenum& size) {
        size.type = V4L2_FRMSIZE_TYPE_STEPWISE;
        size.stepwise = {32, 1920, 16, 32, 1080, 8};
        return size.index == 0 ? 0 : EINVAL;
    });
    EXPECT_THAT(modes(), ElementsAre(CameraMode{PixelFormat::yuyv, 640, 480, 60},
                                     CameraMode{PixelFormat::yuyv, 1280, 720, 30}));
}

TEST_F(VideoModesTest, AStepThatLeavesTheUsualSizesOutLeavesThePresentOne) {
    camera_.chosen = {V4L2_PIX_FMT_YUYV, 600, 400, {}};
    answer<v4l2_frmsizeenum>(VIDIOC_ENUM_FRAMESIZES, [](v4l2_frmsizeenum& size) {
        size.type = V4L2_FRMSIZE_TYPE_STEPWISE;
        size.stepwise = {600, 1200, 600, 400, 800, 400};
        return size.index == 0 ? 0 : EINVAL;
    });
    EXPECT_THAT(modes(), ElementsAre(CameraMode{PixelFormat::yuyv, 600, 400, 0}));
}

TEST_F(VideoModesTest, ACameraThatListsNoSizesIsTakenAsItIs) {
    camera_.chosen = {V4L2_PIX_FMT_YUYV, 352, 288, {}};
    answer<v4l2_frmsizeenum>(VIDIOC_ENUM_FRAMESIZES, [](v4l2_frmsizeenum&) { return ENOTTY; });
    EXPECT_THAT(modes(), ElementsAre(CameraMode{PixelFormat::yuyv, 352, 288, 0}));
}

TEST_F(VideoModesTest, ARangeOfRatesIsAsFastAsItsShortestTime) {
    answer<v4l2_frmivalenum>(VIDIOC_ENUM_FRAMEINTERVALS, [](v4l2_frmivalenum& interval) {
        interval.type = V4L2_FRMIVAL_TYPE_CONTINUOUS;
        interval.stepwise = {{1, 90}, {1, 1}, {1, 1}};
        return 0;
    });
    EXPECT_THAT(modes(), ElementsAre(CameraMode{PixelFormat::yuyv, 640, 480, 90}));
}

TEST_F(VideoModesTest, ASourceThatSetsItsOwnSizeIsTakenAsItIs) {
    camera_.modes = {{V4L2_PIX_FMT_GREY, 640, 480}, {V4L2_PIX_FMT_YUYV, 1920, 1080}};
    camera_.chosen = camera_.modes[1];
    camera_.answer = [](unsigned long code, void* argument) -> std::optional<int> {
        if (code == VIDIOC_G_INPUT)
            return *static_cast<int*>(argument) = 1, 0;
        if (code != VIDIOC_ENUMINPUT)
            return std::nullopt;
        auto& input = *static_cast<v4l2_input*>(argument);
        input.capabilities = input.index == 1 ? V4L2_IN_CAP_DV_TIMINGS : 0;
        return 0;
    };
    EXPECT_THAT(modes(), ElementsAre(CameraMode{PixelFormat::yuyv, 1920, 1080, 0}));
    // In a format that is not read here it is asked for another.
    camera_.chosen.format = V4L2_PIX_FMT_NV12;
    EXPECT_THAT(modes(), SizeIs(2));
}

TEST_F(VideoModesTest, ANodeSaysWhatItIsThereFor) {
    int error = 0;
    EXPECT_EQ(node(error)->purpose, VideoPurpose::capture);
    EXPECT_EQ(node(error)->names.card, "Test Camera");
    for (const std::uint32_t other :
         {V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING, V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_STREAMING,
          V4L2_CAP_VIDEO_M2M_MPLANE | V4L2_CAP_STREAMING, V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_READWRITE}) {
        camera_.capabilities = other;
        EXPECT_EQ(node(error)->purpose, VideoPurpose::other) << other;
    }
    camera_.capabilities = V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING;
    EXPECT_EQ(node(error)->purpose, VideoPurpose::planes);
}

TEST_F(VideoModesTest, WhatIsNoVideoNodeSaysSo) {
    answer<v4l2_capability>(VIDIOC_QUERYCAP, [](v4l2_capability&) { return ENOTTY; });
    int error = 0;
    EXPECT_FALSE(node(error));
    EXPECT_EQ(error, ENOTTY);
}

TEST_F(VideoModesTest, ANameWithoutAnEndIsTakenAsLongAsItsField) {
    answer<v4l2_capability>(VIDIOC_QUERYCAP, [](v4l2_capability& told) {
        std::fill(std::begin(told.card), std::end(told.card), std::uint8_t{'x'});
        return 0;
    });
    int error = 0;
    EXPECT_EQ(node(error)->names.card, std::string(32, 'x'));
}

TEST_F(VideoModesTest, NamesHaveNothingThatATerminalObeys) {
    EXPECT_EQ(plainText("Cam\x1b[31m\n\x7f"), "Cam?[31m??");
    EXPECT_EQ(plainText("a\xC2\x9B"
                        "b"),
              "a\xC2?b");
    EXPECT_EQ(plainText("\xE6\x91\x84\xE5\x83\x8F"), "\xE6\x91\x84\xE5\x83\x8F");
}

TEST_F(VideoModesTest, RatesAreTheTimesTurnedOver) {
    EXPECT_EQ(rateOf(1, 60), 60);
    EXPECT_NEAR(rateOf(1001, 30000), 29.97, 0.001);
    EXPECT_EQ(rateOf(0, 60), 0);
    EXPECT_EQ(rateOf(1, 0), 0);
    EXPECT_EQ(rateOf(1, 1001), 0);
    EXPECT_EQ(formatOf(codeOf(PixelFormat::mjpeg)), PixelFormat::mjpeg);
    EXPECT_EQ(formatOf(codeOf(PixelFormat::grey)), PixelFormat::grey);
    EXPECT_EQ(formatOf(codeOf(PixelFormat::yuyv)), PixelFormat::yuyv);
    EXPECT_EQ(formatOf(V4L2_PIX_FMT_RGB24), std::nullopt);
}

} // namespace
} // namespace lightpen::webcam
