// SPDX-License-Identifier: MIT
#include "linux_desktop/process/SingleInstance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <optional>

#include "kit/ChildProcess.h"
#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string runsAs(int process) {
    return "Pen runs already (process " + std::to_string(process) + "); this one ends.";
}

class SingleInstanceTest : public testing::Test {
protected:
    bool runsAlready(const std::string& name = "Pen") const {
        return SingleInstance(name, directory.path()).runsAlready();
    }
    // A program that takes the lock, says so, and holds it until it is ended.
    std::string startHolder(std::unique_ptr<ChildProcess>& holder) const {
        return startAndReadLine(holder, {"/proc/self/exe", "--hold", directory.path(), "%fd%"});
    }

    const TemporaryDirectory directory;
    const std::string file = directory.file("Pen.lock");
    RecordingLog log;
};

TEST_F(SingleInstanceTest, TheFirstHoldsTheLockUntilItsEnd) {
    {
        const SingleInstance first("Pen", directory.path());
        EXPECT_FALSE(first.runsAlready());
        EXPECT_EQ(readFile(file), std::to_string(getpid()) + "\n");
        EXPECT_THAT(log.takeLines(), IsEmpty());
        EXPECT_TRUE(runsAlready());
        EXPECT_TRUE(runsAlready()) << "the second one took nothing away";
        EXPECT_THAT(log.takeLines(), ElementsAre(runsAs(getpid()), runsAs(getpid())));
        EXPECT_FALSE(runsAlready("Pencil"));
    }
    EXPECT_FALSE(runsAlready());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SingleInstanceTest, AnotherProcessHoldsItUntilItIsKilled) {
    std::unique_ptr<ChildProcess> holder;
    const std::string process = startHolder(holder);
    ASSERT_NE(process, "");
    EXPECT_TRUE(runsAlready());
    EXPECT_THAT(log.takeLines(), ElementsAre(runsAs(std::stoi(process))));
    holder->kill();
    EXPECT_FALSE(runsAlready());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SingleInstanceTest, AProgramThatWasStartedByTheFirstDoesNotHoldIt) {
    std::optional<SingleInstance> first(std::in_place, "Pen", directory.path());
    std::unique_ptr<ChildProcess> started;
    const TemporaryDirectory elsewhere;
    ASSERT_NE(startAndReadLine(started, {"/proc/self/exe", "--hold", elsewhere.path(), "%fd%"}), "");
    first.reset();
    EXPECT_FALSE(runsAlready());
}

TEST_F(SingleInstanceTest, OnlyItsUserMayOpenTheFile) {
    const mode_t before = umask(0);
    EXPECT_FALSE(runsAlready());
    umask(before);
    struct stat state {};
    ASSERT_EQ(stat(file.c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 07777U, 0600U);
}

TEST_F(SingleInstanceTest, WhatAnEarlierProgramWroteIsReplacedWhole) {
    writeFile(file, "1234567890123\nand more");
    const SingleInstance first("Pen", directory.path());
    EXPECT_EQ(readFile(file), std::to_string(getpid()) + "\n");
}

TEST_F(SingleInstanceTest, AFileThatNamesNobodyIsALockAllTheSame) {
    const SingleInstance first("Pen", directory.path());
    for (const char* text : {"", "nobody\n", "-7\n", "0\n", "99999999999999999999"}) {
        writeFile(file, text);
        EXPECT_TRUE(runsAlready()) << text;
        EXPECT_THAT(log.takeLines(), ElementsAre("Pen runs already; this one ends."));
    }
}

TEST_F(SingleInstanceTest, WithoutAFolderThereIsNoLock) {
    for (const char* folder : {"", ".", "run/user"}) {
        EXPECT_FALSE(SingleInstance("Pen", folder).runsAlready());
        EXPECT_FALSE(std::filesystem::exists("Pen.lock"));
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(SingleInstanceTest, AFileThatCannotBeLockedIsSaidAndKeepsNobodyFromRunning) {
    EXPECT_FALSE(SingleInstance("Pen", directory.file("gone")).runsAlready());
    EXPECT_THAT(log.takeLines(), ElementsAre("Pen: " + directory.file("gone/Pen.lock") +
                                             " is no lock: No such file or directory"));
    writeFile(directory.file("target"), "of somebody else");
    std::filesystem::create_symlink(directory.file("target"), file);
    EXPECT_FALSE(runsAlready());
    EXPECT_THAT(log.takeLines(),
                ElementsAre("Pen: " + file + " is no lock: Too many levels of symbolic links"));
    EXPECT_EQ(readFile(directory.file("target")), "of somebody else");
}

// The program itself. It has no display, so that it cannot come any further than to its end.
TEST_F(SingleInstanceTest, TheProgramThatComesSecondEndsInOrder) {
    const std::map<std::string, std::string> environment{{"XDG_RUNTIME_DIR", directory.path()},
                                                         {"QT_QPA_PLATFORM", "xcb"},
                                                         {"DISPLAY", ""},
                                                         {"HOME", directory.path()}};
    EXPECT_GT(runProgram({LIGHTPEN_PROGRAM}, environment), 0) << "it was not the lock that ended it";
    const SingleInstance first("LightPenNX7", directory.path());
    EXPECT_FALSE(first.runsAlready()) << "the program has ended";
    EXPECT_EQ(runProgram({LIGHTPEN_PROGRAM}, environment), 0);
}

} // namespace
} // namespace lightpen

// With --hold it is the program that was first: it holds the lock in that folder, and then its descriptor.
int main(int argc, char** argv) {
    if (argc == 4 && std::string_view(argv[1]) == "--hold") {
        const lightpen::SingleInstance instance("Pen", argv[2]);
        const std::string line = std::to_string(getpid()) + "\n";
        if (instance.runsAlready() || write(std::stoi(argv[3]), line.data(), line.size()) < 0)
            return 1;
        pause();
        return 0;
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
