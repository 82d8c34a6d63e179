// SPDX-License-Identifier: MIT
#include "linux_desktop/files/PlainFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

class PlainFileTest : public testing::Test {
protected:
    // The error with which the file of this name is refused; 0 when it is read.
    int refusal(const std::string& name, Links links = Links::followed) const {
        return readPlainFile(directory.file(name), 5, links) ? 0 : errno;
    }
    const TemporaryDirectory directory;
};

TEST_F(PlainFileTest, IsReadUpToTheLimit) {
    const std::string bytes("a\0\xff\n\0", 5);
    writeFile(directory.file("five"), bytes);
    writeFile(directory.file("six"), bytes + "x");
    writeFile(directory.file("none"), "");
    EXPECT_EQ(readPlainFile(directory.file("five"), 5, Links::followed), bytes);
    EXPECT_EQ(readPlainFile(directory.file("none"), 5, Links::followed), "");
    EXPECT_EQ(readPlainFile(directory.file("six"), 5), bytes);
}

TEST_F(PlainFileTest, WhatIsNoneIsRefusedAtOnce) {
    std::filesystem::create_directory(directory.file("folder"));
    ASSERT_EQ(mkfifo(directory.file("pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", directory.file("endless"));
    EXPECT_EQ(refusal("folder"), EISDIR);
    EXPECT_EQ(refusal("pipe"), EINVAL);
    EXPECT_EQ(refusal("endless"), EINVAL);
    EXPECT_EQ(refusal("nothing"), ENOENT);
    EXPECT_EQ(refusal("pipe/below"), ENOTDIR);
}

TEST_F(PlainFileTest, LinksAreFollowedOrNot) {
    writeFile(directory.file("file"), "abc");
    std::filesystem::create_symlink("file", directory.file("link"));
    EXPECT_EQ(refusal("link"), 0);
    EXPECT_EQ(refusal("link", Links::refused), ELOOP);
    EXPECT_EQ(refusal("file", Links::refused), 0);
}

} // namespace
} // namespace lightpen
