// SPDX-License-Identifier: MIT
#include "webcam/camera/KernelVideo.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include <gtest/gtest.h>

#include "kit/Pipe.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen::webcam {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Ready = VideoDevice::Ready;

class KernelVideoTest : public testing::Test {
protected:
    TemporaryDirectory folder_;
    KernelVideo video_;
};

TEST_F(KernelVideoTest, WhatIsNotThereCannotBeOpened) {
    const OpenedVideo opened = video_.open(folder_.file("video0"));
    EXPECT_EQ(opened.device, nullptr);
    EXPECT_EQ(opened.error, ENOENT);
}

TEST_F(KernelVideoTest, APlainFileAnswersNoRequest) {
    writeFile(folder_.file("video0"), std::string(8192, 'x'));
    const OpenedVideo opened = video_.open(folder_.file("video0"));
    ASSERT_NE(opened.device, nullptr);
    v4l2_capability told{};
    EXPECT_EQ(opened.device->request(VIDIOC_QUERYCAP, &told), ENOTTY);
}

TEST_F(KernelVideoTest, MapsWhatIsThere) {
    writeFile(folder_.file("video0"), std::string(4096, 'x') + std::string(4096, 'y'));
    const OpenedVideo opened = video_.open(folder_.file("video0"));
    const auto bytes = opened.device->map(4096, 4096);
    ASSERT_EQ(bytes.size(), 4096U);
    EXPECT_EQ(bytes[0], 'y');
    opened.device->unmap(bytes);
    EXPECT_TRUE(opened.device->map(0, 0).empty());
    EXPECT_TRUE(opened.device->map(4096, 1).empty()); // no page begins there
}

// A pipe by name is waited for as a camera is.
TEST_F(KernelVideoTest, WaitsForWhatMayBeTakenOrForTheTime) {
    const std::string node = folder_.file("video0");
    ASSERT_EQ(mkfifo(node.c_str(), 0600), 0);
    const OpenedVideo opened = video_.open(node);
    ASSERT_NE(opened.device, nullptr);
    const auto before = steady_clock::now();
    EXPECT_EQ(opened.device->wait(milliseconds(30)), Ready::timeOut);
    EXPECT_GE(steady_clock::now() - before, milliseconds(30));
    EXPECT_EQ(opened.device->wait(milliseconds(-5)), Ready::timeOut);
    const FileDescriptor writer(open(node.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(write(writer.get(), "x", 1), 1);
    EXPECT_EQ(opened.device->wait(milliseconds(10'000)), Ready::picture);
}

} // namespace
} // namespace lightpen::webcam
