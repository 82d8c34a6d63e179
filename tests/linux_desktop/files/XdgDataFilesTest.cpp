// SPDX-License-Identifier: MIT
#include "linux_desktop/files/XdgDataFiles.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/OrdinaryUser.h"
#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Bytes = std::vector<std::uint8_t>;

constexpr const char* kName = "NX9_Wireless.bin";
constexpr const char* kNoOrdinaryUser = "no ordinary user can go into the folder for temporary files";

// A disk on which files cannot grow beyond this size.
class FullDisk {
public:
    explicit FullDisk(rlim_t size) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{size, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    void (*handler_)(int);
    rlimit before_{};
};

class XdgDataFilesTest : public testing::Test {
protected:
    XdgDataFilesTest() {
        std::filesystem::create_directory(shipped);
        // An ordinary user may go through it.
        EXPECT_EQ(chmod(directory.path().c_str(), 0755), 0);
    }
    std::string own() const { return user + "/" + kName; }
    std::string ofTheProgram() const { return shipped + "/" + kName; }
    void putOwn(const std::string& text) const {
        std::filesystem::create_directories(user);
        writeFile(own(), text);
    }
    // What lies in the user's folder, temporary files included.
    std::vector<std::string> inUserFolder() const {
        std::vector<std::string> names;
        if (std::filesystem::exists(user))
            for (const auto& entry : std::filesystem::directory_iterator(user))
                names.push_back(entry.path().filename().string());
        return names;
    }

    const TemporaryDirectory directory;
    const std::string user = directory.file("share/LightPenNX7");
    const std::string shipped = directory.file("resources");
    const XdgDataFiles files{user, shipped};
    RecordingLog log;
};

// Where they are

TEST_F(XdgDataFilesTest, WithoutAnyFileThereIsNone) {
    EXPECT_FALSE(files.locate(kName));
    EXPECT_FALSE(XdgDataFiles(user, "").locate(kName));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(XdgDataFilesTest, TheProgramsFileIsReadAndTheUsersWritten) {
    writeFile(ofTheProgram(), "shipped");
    const auto paths = files.locate(kName);
    ASSERT_TRUE(paths);
    EXPECT_EQ(paths->toRead, ofTheProgram());
    EXPECT_EQ(paths->toWrite, own());
}

// Reading

TEST_F(XdgDataFilesTest, AFileIsReadUpToTheLimit) {
    for (const std::size_t length : {0u, 1u, 111u, 112u, 559u, 560u, 561u, 70'000u}) {
        putOwn(std::string(length, 'x'));
        const auto bytes = files.read(own(), 560);
        ASSERT_TRUE(bytes);
        EXPECT_EQ(*bytes, Bytes(std::min<std::size_t>(length, 560), 'x'));
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(XdgDataFilesTest, AFileThatCannotBeReadIsLogged) {
    EXPECT_FALSE(files.read(own(), 560));
    EXPECT_THAT(log.takeLines(),
                ElementsAre("Files: " + own() + " cannot be read: No such file or directory"));
    std::filesystem::create_directories(own());
    EXPECT_FALSE(files.read(own(), 560)) << "a folder";
    EXPECT_THAT(log.takeLines(), ElementsAre(HasSubstr("Is a directory")));
}

TEST_F(XdgDataFilesTest, AFileThatMayNotBeReadGoesFirstAllTheSame) {
    if (!ordinaryUserMayEnter(directory.path()))
        GTEST_SKIP() << kNoOrdinaryUser;
    writeFile(ofTheProgram(), "shipped");
    putOwn("own");
    ASSERT_EQ(chmod(own().c_str(), 0), 0);
    const OrdinaryUser ordinary;
    const auto paths = files.locate(kName);
    ASSERT_TRUE(paths);
    EXPECT_EQ(paths->toRead, own());
    EXPECT_FALSE(files.read(own(), 560));
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("Permission denied")));
}

TEST_F(XdgDataFilesTest, APipeHoldsNobodyUp) {
    std::filesystem::create_directories(user);
    ASSERT_EQ(mkfifo(own().c_str(), 0600), 0);
    EXPECT_FALSE(files.read(own(), 560));
    EXPECT_THAT(log.takeLines(), ElementsAre("Files: " + own() + " cannot be read: Invalid argument"));
    EXPECT_FALSE(files.replace(own(), Bytes(3, 'n')));
    EXPECT_THAT(log.takeLines(), ElementsAre(StartsWith("Files: " + own() + " cannot be written: ")));
}

// Replacing

TEST_F(XdgDataFilesTest, TheFirstFileMakesItsFolders) {
    const Bytes table{1, 0, 255, 7};
    EXPECT_TRUE(files.replace(own(), table));
    EXPECT_EQ(readFile(own()), std::string("\x01\0\xFF\x07", 4));
    EXPECT_THAT(inUserFolder(), ElementsAre(kName));
    struct stat status {};
    ASSERT_EQ(stat(user.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(XdgDataFilesTest, ALongerFileIsReplacedWhole) {
    putOwn(std::string(5000, 'x'));
    EXPECT_TRUE(files.replace(own(), Bytes(112, 'y')));
    EXPECT_EQ(readFile(own()), std::string(112, 'y'));
    EXPECT_TRUE(files.replace(own(), {}));
    EXPECT_EQ(readFile(own()), "");
    EXPECT_THAT(inUserFolder(), ElementsAre(kName));
}

TEST_F(XdgDataFilesTest, TheProgramsFileIsLeftAloneAndTheUsersGoesFirst) {
    writeFile(ofTheProgram(), "shipped");
    EXPECT_TRUE(files.replace(files.locate(kName)->toWrite, Bytes(3, 'n')));
    EXPECT_EQ(readFile(ofTheProgram()), "shipped");
    EXPECT_EQ(files.locate(kName)->toRead, own());
    EXPECT_EQ(files.locate(kName)->toWrite, own());
}

TEST_F(XdgDataFilesTest, AFullDiskKeepsTheOldFile) {
    putOwn("old");
    bool replaced = true;
    for (const rlim_t size : {0u, 1u, 111u}) {
        {
            const FullDisk full(size);
            replaced = files.replace(own(), Bytes(112, 'n'));
        }
        EXPECT_FALSE(replaced) << size;
        EXPECT_EQ(readFile(own()), "old");
        EXPECT_THAT(inUserFolder(), ElementsAre(kName)) << "nothing is left of the new one";
        EXPECT_THAT(log.takeLines(), ElementsAre("Files: " + own() + " cannot be written: File too large"));
    }
    {
        const FullDisk full(112);
        replaced = files.replace(own(), Bytes(112, 'n'));
    }
    EXPECT_TRUE(replaced);
}

TEST_F(XdgDataFilesTest, AFileOrAFolderThatMayNotBeWrittenKeepsTheOldFile) {
    if (!ordinaryUserMayEnter(directory.path()))
        GTEST_SKIP() << kNoOrdinaryUser;
    putOwn("old");
    for (const auto& [ofFile, ofFolder] : {std::pair(0666, 0555), std::pair(0444, 0777)}) {
        ASSERT_EQ(chmod(own().c_str(), static_cast<mode_t>(ofFile)), 0);
        ASSERT_EQ(chmod(user.c_str(), static_cast<mode_t>(ofFolder)), 0);
        {
            const OrdinaryUser ordinary;
            EXPECT_FALSE(files.replace(own(), Bytes(112, 'n'))) << ofFile;
        }
        EXPECT_EQ(readFile(own()), "old");
        EXPECT_THAT(inUserFolder(), ElementsAre(kName));
        EXPECT_THAT(log.takeLines(),
                    ElementsAre("Files: " + own() + " cannot be written: Permission denied"));
    }
}

TEST_F(XdgDataFilesTest, WhereNoFolderCanBeMadeNothingIsWritten) {
    writeFile(directory.file("share"), "a file in the way");
    EXPECT_FALSE(files.replace(own(), Bytes(112, 'n')));
    EXPECT_THAT(log.lines(), ElementsAre(StartsWith("Files: " + user + " cannot be made: ")));
    EXPECT_EQ(readFile(directory.file("share")), "a file in the way");
}

// A process that does nothing but replace the file is killed at any moment.
TEST_F(XdgDataFilesTest, ACrashLeavesTheOldFileOrTheNewOne) {
    const std::array contents{std::string(112, 'a'), std::string(560, 'b')};
    putOwn(contents[0]);
    for (int crash = 0; crash < 25; ++crash) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            for (std::size_t i = 0;; ++i) {
                const std::string& text = contents[i % 2];
                files.replace(own(), Bytes(text.begin(), text.end()));
            }
        std::this_thread::sleep_for(std::chrono::microseconds(500 + crash * 137));
        ASSERT_EQ(kill(child, SIGKILL), 0);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);
        EXPECT_THAT(readFile(own()), testing::AnyOf(contents[0], contents[1])) << crash;
    }
    EXPECT_TRUE(files.replace(own(), Bytes(5, 'z'))) << "what a crash has left is in nobody's way";
    EXPECT_EQ(readFile(own()), "zzzzz");
}

} // namespace
} // namespace lightpen
