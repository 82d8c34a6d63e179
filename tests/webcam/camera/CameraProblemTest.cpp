// SPDX-License-Identifier: MIT
#include "webcam/camera/CameraProblem.h"

#include <cerrno>

#include <gtest/gtest.h>

namespace lightpen::webcam {
namespace {

using Kind = CameraProblem::Kind;

TEST(CameraProblemTest, EachErrorOfTheKernelIsOneClearLine) {
    const struct {
        int error;
        Kind kind;
        const char* text;
    } cases[] = {
        {ENOENT, Kind::absent, "/dev/video0 is not there: no camera is plugged in"},
        {ENODEV, Kind::absent, "/dev/video0 is not there: no camera is plugged in"},
        {EACCES, Kind::notPermitted, "/dev/video0 may not be opened by this user (the group \"video\" may)"},
        {EBUSY, Kind::busy, "/dev/video0 is used by another program"},
        {ENOTTY, Kind::notACamera, "/dev/video0 is no camera"},
        {ENOSPC, Kind::failed, "/dev/video0 cannot be used: its USB bus has no room for its pictures"},
        {EIO, Kind::failed, "/dev/video0 cannot be used: Input/output error"},
    };
    for (const auto& [error, kind, text] : cases) {
        const CameraProblem problem = problemOfError("/dev/video0", error);
        EXPECT_EQ(problem.kind, kind) << error;
        EXPECT_EQ(problem.text, text);
        EXPECT_TRUE(problem);
    }
}

TEST(CameraProblemTest, NoErrorIsNoProblem) {
    EXPECT_FALSE(problemOfError("/dev/video0", 0));
    EXPECT_FALSE(problemOfModes("/dev/video0", {CameraMode{PixelFormat::grey, 640, 480, 30}}));
}

TEST(CameraProblemTest, ACameraWithoutAUsableModeHasNoFormat) {
    const CameraProblem problem = problemOfModes("/dev/video1", {});
    EXPECT_EQ(problem.kind, Kind::noFormat);
    EXPECT_EQ(problem.text, "/dev/video1 sends none of the formats GREY, YUYV and MJPG");
}

} // namespace
} // namespace lightpen::webcam
