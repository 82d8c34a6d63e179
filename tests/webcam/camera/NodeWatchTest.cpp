// SPDX-License-Identifier: MIT
#include "webcam/camera/NodeWatch.h"

#include <sys/stat.h>

#include <filesystem>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen::webcam {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::HasSubstr;
using Woken = NodeWatch::Woken;

class NodeWatchTest : public testing::Test {
protected:
    TemporaryDirectory folder_;
    NodeWatch watch_{folder_.path().string()};
    const std::string node_ = folder_.file("video3");
};

TEST_F(NodeWatchTest, HearsOfANodeThatComesIsPermittedAndGoes) {
    EXPECT_EQ(watch_.wait(milliseconds(1)), Woken::timeOut);
    writeFile(node_, "");
    EXPECT_EQ(watch_.wait(seconds(10)), Woken::nodes);
    EXPECT_EQ(watch_.wait(milliseconds(1)), Woken::timeOut);
    ASSERT_EQ(chmod(node_.c_str(), 0600), 0);
    EXPECT_EQ(watch_.wait(seconds(10)), Woken::nodes);
    std::filesystem::remove(node_);
    EXPECT_EQ(watch_.wait(std::nullopt), Woken::nodes);
    EXPECT_EQ(watch_.wait(milliseconds(1)), Woken::timeOut);
}

TEST_F(NodeWatchTest, WhatIsNoVideoNodeWakesNobody) {
    writeFile(folder_.file("sda"), "");
    writeFile(folder_.file("hidraw3"), "");
    EXPECT_EQ(watch_.wait(milliseconds(20)), Woken::timeOut);
    writeFile(node_, "");
    EXPECT_EQ(watch_.wait(std::nullopt), Woken::nodes);
}

TEST_F(NodeWatchTest, AChangeBetweenTwoWaitsIsNotLost) {
    writeFile(node_, "");
    std::filesystem::remove(node_);
    EXPECT_EQ(watch_.wait(milliseconds(0)), Woken::nodes);
    EXPECT_EQ(watch_.wait(milliseconds(0)), Woken::timeOut);
}

TEST_F(NodeWatchTest, IsWokenByHand) {
    watch_.wake();
    watch_.wake();
    EXPECT_EQ(watch_.wait(std::nullopt), Woken::byHand);
    EXPECT_EQ(watch_.wait(milliseconds(1)), Woken::timeOut);
    std::thread waker([this] { watch_.wake(); });
    EXPECT_EQ(watch_.wait(std::nullopt), Woken::byHand);
    waker.join();
}

TEST_F(NodeWatchTest, AFolderThatCannotBeWatchedIsToldAndLookedAtNowAndThen) {
    const RecordingLog log;
    NodeWatch watch(folder_.file("nowhere"));
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("nowhere cannot be watched: No such file or directory")));
    EXPECT_EQ(watch.wait(milliseconds(1)), Woken::nodes);
    watch.wake();
    EXPECT_EQ(watch.wait(std::nullopt), Woken::byHand);
}

} // namespace
} // namespace lightpen::webcam
