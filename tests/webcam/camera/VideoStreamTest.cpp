// SPDX-License-Identifier: MIT
#include "webcam/camera/VideoStream.h"

#include <algorithm>
#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/webcam/JpegPictures.h"
#include "webcam/camera/CameraStage.h"

namespace lightpen::webcam {
namespace {

using testing::Each;
using Bytes = std::vector<std::uint8_t>;
using Taken = VideoStream::Taken;

constexpr CameraMode kGrey{PixelFormat::grey, 64, 48, 30};
constexpr Microseconds kNow{5'000'000};

class VideoStreamTest : public testing::Test {
protected:
    VideoStreamTest() {
        camera_.modes = {{V4L2_PIX_FMT_GREY, 64, 48, {{1, 30}, {1, 15}}},
                         {V4L2_PIX_FMT_YUYV, 64, 48},
                         {V4L2_PIX_FMT_MJPEG, 64, 48}};
        stage_.clock.advanceTo(kNow);
    }
    // The stream of this mode; null, with the error, when there is none.
    VideoStream* start(const CameraMode& mode = kGrey) {
        stream_ = nullptr;
        opened_ = stage_.video.open(kNode);
        stream_ = VideoStream::start(*opened_.device, mode, error_);
        return stream_.get();
    }
    Taken take() { return stream_->take(picture_, stage_.clock.now()); }
    template <class Argument>
    void after(unsigned long code, std::function<void(Argument&)> change) {
        camera_.answer = [this, code, change](unsigned long asked, void* argument) -> std::optional<int> {
            if (asked != code)
                return std::nullopt;
            const auto hook = std::exchange(camera_.answer, nullptr);
            const int error = opened_.device->request(asked, argument);
            camera_.answer = hook;
            change(*static_cast<Argument*>(argument));
            return error;
        };
    }

    CameraStage stage_;
    FakeCamera& camera_ = stage_.camera;
    OpenedVideo opened_;
    std::unique_ptr<VideoStream> stream_;
    GreyPicture picture_;
    int error_ = 0;
};

TEST_F(VideoStreamTest, StreamsInTheModeFromAFewBuffers) {
    ASSERT_TRUE(start());
    EXPECT_TRUE(camera_.streaming);
    EXPECT_EQ(camera_.mapped, 4U);
    EXPECT_EQ(camera_.queued(), 4U);
    EXPECT_EQ(stream_->mode(), kGrey);
    EXPECT_EQ(camera_.interval.denominator, 30U);
}

TEST_F(VideoStreamTest, EndsWithNothingLeft) {
    ASSERT_TRUE(start());
    stream_ = nullptr;
    EXPECT_FALSE(camera_.streaming);
    EXPECT_EQ(camera_.mapped, 0U);
}

TEST_F(VideoStreamTest, TakesTheNewestAndGivesTheOthersBack) {
    ASSERT_TRUE(start());
    ASSERT_TRUE(camera_.sendGrey(10));
    ASSERT_TRUE(camera_.sendGrey(20));
    ASSERT_TRUE(camera_.sendGrey(30));
    ASSERT_EQ(take(), Taken::picture);
    EXPECT_THAT(picture_.pixels, Each(30));
    EXPECT_EQ(stream_->passedOver(), 2U);
    EXPECT_EQ(camera_.queued(), 4U);
    EXPECT_EQ(take(), Taken::nothing);
}

TEST_F(VideoStreamTest, TheTimeIsWhenTheCameraTookIt) {
    ASSERT_TRUE(start());
    camera_.send({Bytes(64 * 48), {}, {}, V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, kNow - Microseconds(12'345)});
    ASSERT_EQ(take(), Taken::picture);
    EXPECT_EQ(picture_.taken, kNow - Microseconds(12'345));
}

TEST_F(VideoStreamTest, ATimeThatMakesNoSenseIsNow) {
    ASSERT_TRUE(start());
    const FakePicture pictures[] = {
        {Bytes(64 * 48), {}, {}, V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, kNow + Microseconds(1)},
        {Bytes(64 * 48), {}, {}, V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC, kNow - Microseconds(1'000'001)},
        {Bytes(64 * 48), {}, {}, V4L2_BUF_FLAG_TIMESTAMP_UNKNOWN, kNow - Microseconds(10)}};
    for (const FakePicture& picture : pictures) {
        camera_.send(picture);
        ASSERT_EQ(take(), Taken::picture);
        EXPECT_EQ(picture_.taken, kNow);
    }
}

TEST_F(VideoStreamTest, YuyvIsReadWithTheStrideOfTheDriver) {
    camera_.extraStride = 24;
    ASSERT_TRUE(start({PixelFormat::yuyv, 64, 48, 30}));
    camera_.sendGrey(77);
    ASSERT_EQ(take(), Taken::picture);
    EXPECT_THAT(picture_.pixels, Each(77));
    EXPECT_EQ(picture_.pixels.size(), 64U * 48U);
}

TEST_F(VideoStreamTest, AJpegIsRead) {
    ASSERT_TRUE(start({PixelFormat::mjpeg, 64, 48, 30}));
    const Bytes jpeg = jpegOf(Bytes(64 * 48, 90), 64, 48);
    camera_.send({jpeg});
    ASSERT_EQ(take(), Taken::picture);
    EXPECT_THAT(picture_.pixels, Each(testing::AllOf(testing::Ge(88), testing::Le(92))));
    camera_.send({Bytes(jpeg.begin(), jpeg.begin() + std::ptrdiff_t(jpeg.size() / 2))});
    EXPECT_EQ(take(), Taken::broken);
    EXPECT_EQ(stream_->broken(), 1U);
    EXPECT_EQ(camera_.queued(), 4U);
}

TEST_F(VideoStreamTest, ABufferThatIsNotWholeIsBroken) {
    ASSERT_TRUE(start());
    const Bytes whole(64 * 48, 5);
    const FakePicture pictures[] = {
        {whole, 0},             // nothing in it
        {whole, 64 * 48 - 1},   // a byte too few
        {whole, 64 * 48 + 1},   // more than there is room for
        {whole, 4'000'000'000}, // much more
        {whole, {}, {}, V4L2_BUF_FLAG_ERROR},
    };
    std::uint64_t broken = 0;
    for (const FakePicture& picture : pictures) {
        ASSERT_TRUE(camera_.send(picture));
        EXPECT_EQ(take(), Taken::broken);
        EXPECT_EQ(stream_->broken(), ++broken);
        EXPECT_EQ(camera_.queued(), 4U);
    }
    camera_.send({whole});
    EXPECT_EQ(take(), Taken::picture);
}

TEST_F(VideoStreamTest, AWholePictureBeforeABrokenOneIsTaken) {
    ASSERT_TRUE(start());
    camera_.sendGrey(40);
    camera_.send({Bytes(64 * 48), {}, {}, V4L2_BUF_FLAG_ERROR});
    ASSERT_EQ(take(), Taken::picture);
    EXPECT_THAT(picture_.pixels, Each(40));
    EXPECT_EQ(stream_->broken(), 1U);
}

TEST_F(VideoStreamTest, ABufferThatIsNoneOfOursIsAFailure) {
    ASSERT_TRUE(start());
    camera_.send({Bytes(64 * 48), {}, 4});
    EXPECT_EQ(take(), Taken::failed);
    camera_.send({Bytes(64 * 48), {}, 4'000'000'000});
    EXPECT_EQ(take(), Taken::failed);
}

TEST_F(VideoStreamTest, ADeviceThatAlwaysHasOneMoreHoldsNobody) {
    ASSERT_TRUE(start());
    int taken = 0;
    camera_.answer = [&](unsigned long code, void* argument) -> std::optional<int> {
        if (code != VIDIOC_DQBUF)
            return code == VIDIOC_QBUF ? std::optional(0) : std::nullopt;
        auto& buffer = *static_cast<v4l2_buffer*>(argument);
        buffer.index = static_cast<std::uint32_t>(++taken % 4);
        buffer.bytesused = 64 * 48;
        return 0;
    };
    EXPECT_EQ(take(), Taken::picture);
    EXPECT_LT(taken, 10);
}

TEST_F(VideoStreamTest, ErrorsOfTheTakingAreToldApart) {
    ASSERT_TRUE(start());
    int error = 0;
    camera_.answer = [&](unsigned long code, void*) {
        return code == VIDIOC_DQBUF ? std::optional(error) : std::nullopt;
    };
    for (const auto& [number, taken] :
         {std::pair{EAGAIN, Taken::nothing}, std::pair{EIO, Taken::failed}, std::pair{EINVAL, Taken::failed},
          std::pair{ENODEV, Taken::gone}, std::pair{ENXIO, Taken::gone}}) {
        error = number;
        EXPECT_EQ(take(), taken) << number;
    }
}

TEST_F(VideoStreamTest, TheModeIsWhatTheDeviceMakesOfIt) {
    ASSERT_TRUE(start({PixelFormat::grey, 64, 48, 20}));
    EXPECT_EQ(stream_->mode().rate, 15); // the nearest that it has
    after<v4l2_format>(VIDIOC_S_FMT, [](v4l2_format& format) {
        format.fmt.pix.width = 32;
        format.fmt.pix.height = 24;
    });
    ASSERT_TRUE(start());
    EXPECT_EQ(stream_->mode().width, 32);
    camera_.sendGrey(3);
    ASSERT_EQ(take(), Taken::picture);
    EXPECT_EQ(picture_.pixels.size(), 32U * 24U);
}

TEST_F(VideoStreamTest, WithoutWordOfTheRateItIsTheOneThatWasAsked) {
    camera_.answer = [](unsigned long code, void*) {
        return code == VIDIOC_S_PARM || code == VIDIOC_G_PARM ? std::optional(ENOTTY) : std::nullopt;
    };
    ASSERT_TRUE(start());
    EXPECT_EQ(stream_->mode().rate, 30);
    camera_.answer = [](unsigned long code, void* argument) -> std::optional<int> {
        if (code != VIDIOC_G_PARM)
            return std::nullopt;
        static_cast<v4l2_streamparm*>(argument)->parm.capture.timeperframe = {0, 0};
        return 0;
    };
    ASSERT_TRUE(start());
    EXPECT_EQ(stream_->mode().rate, 30);
}

TEST_F(VideoStreamTest, FormatsThatMakeNoSenseAreRefused) {
    const std::function<void(v4l2_pix_format&)> lies[] = {
        [](v4l2_pix_format& pixels) { pixels.pixelformat = V4L2_PIX_FMT_NV12; },
        [](v4l2_pix_format& pixels) { pixels.width = 0; },
        [](v4l2_pix_format& pixels) { pixels.height = 0; },
        [](v4l2_pix_format& pixels) { pixels.width = 4'000'000'000; },
        [](v4l2_pix_format& pixels) { pixels.height = 8193; },
        [](v4l2_pix_format& pixels) { pixels.bytesperline = 63; },
        [](v4l2_pix_format& pixels) { pixels.bytesperline = 4'000'000'000; },
    };
    for (const auto& lie : lies) {
        after<v4l2_format>(VIDIOC_S_FMT, [&](v4l2_format& format) { lie(format.fmt.pix); });
        EXPECT_FALSE(start());
        EXPECT_EQ(error_, EINVAL);
        EXPECT_FALSE(camera_.streaming);
    }
}

TEST_F(VideoStreamTest, AStrideThatIsNotToldIsTheWidth) {
    after<v4l2_format>(VIDIOC_S_FMT, [](v4l2_format& format) { format.fmt.pix.bytesperline = 0; });
    ASSERT_TRUE(start());
    camera_.sendGrey(6);
    EXPECT_EQ(take(), Taken::picture);
}

TEST_F(VideoStreamTest, BuffersThatMakeNoSenseAreRefused) {
    camera_.mostBuffers = 1;
    EXPECT_FALSE(start());
    EXPECT_EQ(error_, ENOMEM);
    camera_.mostBuffers = 4;
    for (const std::uint32_t length : {0U, 4'000'000'000U}) {
        after<v4l2_buffer>(VIDIOC_QUERYBUF, [&](v4l2_buffer& buffer) { buffer.length = length; });
        EXPECT_FALSE(start());
        EXPECT_EQ(error_, EINVAL);
    }
    after<v4l2_buffer>(VIDIOC_QUERYBUF, [](v4l2_buffer& buffer) { buffer.m.offset = 100; });
    EXPECT_FALSE(start());
    EXPECT_EQ(error_, ENOMEM);
    EXPECT_EQ(camera_.mapped, 0U);
}

TEST_F(VideoStreamTest, FewerBuffersThanAskedWillDo) {
    after<v4l2_requestbuffers>(VIDIOC_REQBUFS, [](v4l2_requestbuffers& wanted) { wanted.count = 3; });
    ASSERT_TRUE(start());
    EXPECT_EQ(camera_.mapped, 3U);
}

TEST_F(VideoStreamTest, EachStepThatFailsEndsTheStart) {
    for (const unsigned long step :
         {VIDIOC_S_FMT, VIDIOC_REQBUFS, VIDIOC_QUERYBUF, VIDIOC_QBUF, VIDIOC_STREAMON}) {
        camera_.answer = [&](unsigned long code, void*) {
            return code == step ? std::optional(ENOSPC) : std::nullopt;
        };
        EXPECT_FALSE(start());
        EXPECT_EQ(error_, ENOSPC);
        EXPECT_EQ(camera_.mapped, 0U);
        EXPECT_FALSE(camera_.streaming);
    }
}

} // namespace
} // namespace lightpen::webcam
