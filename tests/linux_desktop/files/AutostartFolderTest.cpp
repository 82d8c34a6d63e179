// SPDX-License-Identifier: MIT
#include "linux_desktop/files/AutostartFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kEntry = "[Desktop Entry]\nType=Application\nName=Pen\n";

class AutostartFolderTest : public testing::Test {
protected:
    void put(const std::string& name, const std::string& text) {
        std::filesystem::create_directories(folder.path());
        writeFile(folder.path() + '/' + name, text);
    }
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& file : folder.files().value_or(std::vector<AutostartFolder::File>()))
            result.push_back(file.name);
        return result;
    }
    const TemporaryDirectory directory;
    const AutostartFolder folder{directory.file("config/autostart")};
    RecordingLog log;
};

TEST_F(AutostartFolderTest, AFolderThatIsNotThereIsEmpty) {
    ASSERT_TRUE(folder.files());
    EXPECT_THAT(*folder.files(), IsEmpty());
    EXPECT_FALSE(folder.read("a.desktop"));
    EXPECT_EQ(folder.freeName("a"), "a.desktop");
    EXPECT_FALSE(std::filesystem::exists(directory.file("config")));
}

TEST_F(AutostartFolderTest, ListsItsEntriesByTheirNames) {
    for (const char* name : {"b.desktop", "a.desktop", "B.desktop", "a-2.desktop"})
        put(name, kEntry);
    EXPECT_THAT(names(), ElementsAre("B.desktop", "a-2.desktop", "a.desktop", "b.desktop"));
    EXPECT_EQ(folder.files()->front().entry.value("Name"), "Pen");
}

TEST_F(AutostartFolderTest, PassesOverWhatIsNoEntry) {
    put("good.desktop", kEntry);
    put("text.txt", kEntry);
    put("good.desktop.Xq3aB1", kEntry); // what a crash may leave of a write
    put("damaged.desktop", "[Desktop Entry]\nName\n");
    put("empty.desktop", "");
    put("latin.desktop", "[Desktop Entry]\nName=\xe9\n");
    put("huge.desktop", kEntry + std::string(70'000, '#'));
    std::filesystem::create_directory(folder.path() + "/folder.desktop");
    std::filesystem::create_symlink(folder.path() + "/good.desktop", folder.path() + "/link.desktop");
    std::filesystem::create_symlink("nowhere", folder.path() + "/dangling.desktop");
    ASSERT_EQ(mkfifo((folder.path() + "/pipe.desktop").c_str(), 0600), 0);
    EXPECT_THAT(names(), ElementsAre("good.desktop"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(AutostartFolderTest, AFolderThatCannotBeReadIsNoEmptyOne) {
    writeFile(directory.file("config"), "a file where a folder is needed");
    EXPECT_FALSE(folder.files());
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(AutostartFolderTest, WritesAnEntryInOneStep) {
    ASSERT_TRUE(folder.write("a.desktop", DesktopEntry()));
    EXPECT_EQ(folder.read("a.desktop")->text(), DesktopEntry().text());
    std::filesystem::create_hard_link(folder.path() + "/a.desktop", directory.file("old"));
    ASSERT_TRUE(folder.write("a.desktop", *DesktopEntry::parse(kEntry)));
    EXPECT_EQ(readFile(directory.file("old")), DesktopEntry().text()); // the old file was not written into
    EXPECT_EQ(folder.read("a.desktop")->text(), kEntry);
    EXPECT_THAT(names(), SizeIs(1));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(AutostartFolderTest, AnEntryThatCannotBeWrittenIsSaid) {
    writeFile(directory.file("config"), "a file where a folder is needed");
    EXPECT_FALSE(folder.write("a.desktop", DesktopEntry()));
    EXPECT_THAT(log.lines(), SizeIs(1));
}

TEST_F(AutostartFolderTest, RemovesAnEntry) {
    put("a.desktop", kEntry);
    EXPECT_TRUE(folder.remove("a.desktop"));
    EXPECT_TRUE(folder.remove("a.desktop")); // it is not there, as it should be
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(AutostartFolderTest, AnEntryThatCannotBeRemovedIsSaid) {
    std::filesystem::create_directories(folder.path() + "/a.desktop");
    EXPECT_FALSE(folder.remove("a.desktop"));
    EXPECT_THAT(log.lines(), ElementsAre("Login items: " + folder.path() +
                                         "/a.desktop cannot be removed: Is a directory"));
}

TEST_F(AutostartFolderTest, AFreeNameIsNobodys) {
    put("pen.desktop", "");
    EXPECT_EQ(folder.freeName("pen"), "pen-2.desktop");
    std::filesystem::create_symlink("nowhere", folder.path() + "/pen-2.desktop");
    std::filesystem::create_directory(folder.path() + "/pen-3.desktop");
    EXPECT_EQ(folder.freeName("pen"), "pen-4.desktop");
    for (int number = 4; number <= 100; ++number)
        put("pen-" + std::to_string(number) + ".desktop", "");
    EXPECT_EQ(folder.freeName("pen"), "");
}

} // namespace
} // namespace lightpen
