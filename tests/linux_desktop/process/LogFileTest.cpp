// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LogFile.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdlib>

#include "kit/OrdinaryUser.h"
#include "kit/Pipe.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

namespace fs = std::filesystem;

mode_t modeOf(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

class LogFileTest : public testing::Test {
protected:
    // What is said when the file cannot be written for this reason.
    std::string complaint(const std::string& reason) const {
        return "Log: " + file + " cannot be written: " + reason + "; the program goes on without it\n";
    }
    // Where the file cannot be written, one line says why, and nothing is tried again.
    void expectComplaint(const std::string& reason) {
        log.append("one\n");
        log.append("two\n");
        EXPECT_EQ(complaints.readAvailable(), complaint(reason));
    }

    const TemporaryDirectory home;
    const std::string folder = home.file("state/LightPenNX7");
    const std::string file = folder + "/log";
    Pipe complaints;
    LogFile log{folder, complaints.writeEnd(), 100};
};

TEST_F(LogFileTest, NothingIsMadeBeforeTheFirstText) {
    EXPECT_FALSE(fs::exists(home.file("state")));
    log.append("one\n");
    log.append("two\n");
    EXPECT_EQ(readFile(file), "one\ntwo\n");
    EXPECT_EQ(complaints.readAvailable(), "");
}

TEST_F(LogFileTest, OnlyTheUserMayEnterTheFolderAndReadTheFiles) {
    const mode_t before = umask(0);
    log.append(std::string(60, 'a'));
    log.append(std::string(60, 'b'));
    umask(before);
    EXPECT_EQ(modeOf(home.file("state")), 0700U);
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(file + ".1"), 0600U);
}

TEST_F(LogFileTest, WhatOthersCouldReadTheyNoLongerCan) {
    fs::create_directories(folder);
    writeFile(file, "before\n");
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    ASSERT_EQ(chmod(file.c_str(), 0644), 0);
    log.append("now\n");
    EXPECT_EQ(readFile(file), "before\nnow\n");
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(file), 0600U);
}

TEST_F(LogFileTest, TheNextOneBeginsBeforeTheLimitAndTheLastOneStays) {
    const std::string half(50, 'a'), other(50, 'b'), more(1, 'c'), most(99, 'd'), last(2, 'e');
    log.append(half);
    log.append(other);
    EXPECT_EQ(readFile(file), half + other) << "100 bytes fit";
    EXPECT_FALSE(fs::exists(file + ".1"));
    log.append(more);
    EXPECT_EQ(readFile(file), more);
    EXPECT_EQ(readFile(file + ".1"), half + other);
    log.append(most);
    log.append(last);
    EXPECT_EQ(readFile(file), last);
    EXPECT_EQ(readFile(file + ".1"), more + most);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2);
}

TEST_F(LogFileTest, WhatAnEarlierProgramWroteCounts) {
    log.append(std::string(70, 'a'));
    LogFile next(folder, complaints.writeEnd(), 100);
    next.append("thirty bytes and a little more.");
    EXPECT_EQ(readFile(file), "thirty bytes and a little more.");
    EXPECT_EQ(readFile(file + ".1"), std::string(70, 'a'));
}

TEST_F(LogFileTest, TwoFilesOfFourMegabytesAreAllThereIs) {
    LogFile real(folder, complaints.writeEnd());
    const std::string piece(4096, 'x');
    for (int i = 0; i < 3000; ++i) // 12 MB
        real.append(piece);
    EXPECT_LE(fs::file_size(file), 4'000'000U);
    EXPECT_LE(fs::file_size(file + ".1"), 4'000'000U);
    EXPECT_GT(fs::file_size(file + ".1"), 3'990'000U);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2);
}

TEST_F(LogFileTest, AFileThatSomebodyRemovedIsMadeAnewWhenItWouldBeFull) {
    log.append(std::string(60, 'a'));
    fs::remove(file);
    log.append(std::string(60, 'b'));
    EXPECT_EQ(readFile(file), std::string(60, 'b'));
    EXPECT_EQ(complaints.readAvailable(), "");
}

TEST_F(LogFileTest, ALinkIsNeverFollowed) {
    fs::create_directories(folder);
    writeFile(home.file("precious"), "kept");
    fs::create_symlink(home.file("precious"), file);
    expectComplaint("Too many levels of symbolic links");
    EXPECT_EQ(readFile(home.file("precious")), "kept");
}

TEST_F(LogFileTest, AFolderThatIsALinkIsRefused) {
    fs::create_directories(home.file("elsewhere"));
    fs::create_directories(home.file("state"));
    fs::create_directory_symlink(home.file("elsewhere"), folder);
    expectComplaint("Not a directory");
    EXPECT_TRUE(fs::is_empty(home.file("elsewhere")));
}

TEST_F(LogFileTest, ALinkInPlaceOfTheLastOneIsReplaced) {
    fs::create_directories(folder);
    writeFile(home.file("precious"), "kept");
    fs::create_symlink(home.file("precious"), file + ".1");
    log.append(std::string(60, 'a'));
    log.append(std::string(60, 'b'));
    EXPECT_EQ(readFile(home.file("precious")), "kept");
    EXPECT_EQ(fs::symlink_status(file + ".1").type(), fs::file_type::regular);
}

TEST_F(LogFileTest, APipeOfThatNameHoldsNobodyUp) {
    fs::create_directories(folder);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    expectComplaint("No such device or address");
}

TEST_F(LogFileTest, APipeThatIsReadIsNoLog) {
    fs::create_directories(folder);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    const FileDescriptor reader(open(file.c_str(), O_RDONLY | O_NONBLOCK));
    expectComplaint("Invalid argument");
    char byte = 0;
    EXPECT_EQ(read(reader.get(), &byte, 1), 0);
}

TEST_F(LogFileTest, AFolderThatCannotBeMadeIsSaidOnce) {
    writeFile(home.file("state"), "a file where the folder would be");
    expectComplaint("Not a directory");
}

TEST_F(LogFileTest, AFileOfAnotherUsersIsNotWritten) {
    if (!ordinaryUserMayEnter("/"))
        GTEST_SKIP() << "there is no ordinary user to become";
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can make a file of another user's";
    fs::create_directories(folder);
    writeFile(file, "root's");
    ASSERT_EQ(chmod(file.c_str(), 0666), 0);
    for (const std::string& open : {home.path().string(), home.file("state")})
        ASSERT_EQ(chmod(open.c_str(), 0755), 0);
    ASSERT_EQ(chown(folder.c_str(), kNobody, kNobody), 0);
    const auto tryIt = [&] {
        if (!becomeOrdinaryUser())
            std::_Exit(2);
        LogFile(folder, STDERR_FILENO).append("nobody's\n");
        std::_Exit(0);
    };
    EXPECT_EXIT(tryIt(), testing::ExitedWithCode(0), "log cannot be written: Operation not permitted");
    EXPECT_EQ(readFile(file), "root's");
}

// A limit on the size of files stands for the end of the disk.
TEST_F(LogFileTest, AFullDiskIsSaidOnceAndWhatFittedStays) {
    const auto fillIt = [&] {
        const rlimit small{4000, 4000};
        signal(SIGXFSZ, SIG_IGN);
        LogFile wide(folder, STDERR_FILENO);
        if (setrlimit(RLIMIT_FSIZE, &small) != 0)
            std::_Exit(2);
        for (int i = 0; i < 3; ++i)
            wide.append(std::string(3000, static_cast<char>('a' + i)));
        std::_Exit(0);
    };
    EXPECT_EXIT(fillIt(), testing::ExitedWithCode(0),
                "^Log: [^\n]*/log cannot be written: File too large; the program goes on without it\n$");
    EXPECT_EQ(readFile(file), std::string(3000, 'a') + std::string(1000, 'b'));
}

} // namespace
} // namespace lightpen
