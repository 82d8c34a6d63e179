// SPDX-License-Identifier: MIT
#include "kernel/gadget/GadgetFiles.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "kit/TemporaryDirectory.h"

namespace lightpen::test {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;

class GadgetFilesTest : public testing::Test {
protected:
    TemporaryDirectory folder_;
    MachineGadgetFiles files_;
};

TEST_F(GadgetFilesTest, MakesAndRemovesFoldersAndLinks) {
    const std::string one = folder_.file("one");
    const std::string link = folder_.file("link");
    EXPECT_EQ(files_.makeFolder(one), 0);
    EXPECT_EQ(files_.makeFolder(one), EEXIST);
    EXPECT_EQ(files_.makeFolder(folder_.file("none/two")), ENOENT);
    EXPECT_EQ(files_.makeLink(one, link), 0);
    EXPECT_EQ(std::filesystem::read_symlink(link), one);
    EXPECT_THAT(files_.list(folder_.path().string()), UnorderedElementsAre("one", "link"));
    EXPECT_EQ(files_.removeLink(link), 0);
    EXPECT_EQ(files_.removeLink(link), ENOENT);
    EXPECT_EQ(files_.removeFolder(one), 0);
    EXPECT_EQ(files_.removeFolder(one), ENOENT);
    EXPECT_THAT(files_.list(folder_.path().string()), IsEmpty());
    EXPECT_THAT(files_.list(one), IsEmpty()) << "no such folder";
}

TEST_F(GadgetFilesTest, ReplacesWhatAFileHeldAndMakesNoneThatIsMissing) {
    const std::string file = folder_.file("attribute");
    EXPECT_EQ(files_.write(file, "text"), ENOENT) << "an attribute that this kernel does not have";
    writeFile(file, "longer than what comes");
    const std::string bytes("a\0b\n", 4);
    EXPECT_EQ(files_.write(file, bytes), 0);
    std::string content = "old";
    EXPECT_EQ(files_.read(file, content), 0);
    EXPECT_EQ(content, bytes);
    EXPECT_EQ(files_.read(folder_.file("none"), content), ENOENT);
    EXPECT_EQ(files_.read(folder_.path().string(), content), EISDIR);
}

TEST_F(GadgetFilesTest, ReadsAFileThatIsLongerThanOneRead) {
    std::string text;
    for (int line = 0; line < 2000; ++line)
        text += std::to_string(line) + "\n";
    writeFile(folder_.file("long"), text);
    std::string content;
    EXPECT_EQ(files_.read(folder_.file("long"), content), 0);
    EXPECT_EQ(content, text);
}

TEST_F(GadgetFilesTest, OpensANodeForBothWaysWithoutBlocking) {
    const std::string node = folder_.file("node");
    FileDescriptor opened;
    EXPECT_EQ(files_.openNode(node, opened), ENOENT);
    EXPECT_FALSE(opened);
    ASSERT_EQ(::mkfifo(node.c_str(), 0600), 0);
    EXPECT_EQ(files_.openNode(node, opened), 0);
    char byte = 0;
    EXPECT_EQ(::read(opened.get(), &byte, 1), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(::write(opened.get(), "x", 1), 1);
    EXPECT_EQ(::read(opened.get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

} // namespace
} // namespace lightpen::test
