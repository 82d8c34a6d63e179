// SPDX-License-Identifier: MIT
#include "kit/Transcript.h"

#include <cstdlib>

#include <gmock/gmock.h>

#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

using testing::HasSubstr;
using Lines = std::vector<std::string>;

class TranscriptTest : public testing::Test {
protected:
    // Nothing here is to be written anew by whoever writes the others.
    TranscriptTest() { unsetenv("LIGHTPEN_WRITE_TRANSCRIPTS"); }
    ~TranscriptTest() override {
        if (before_)
            setenv("LIGHTPEN_WRITE_TRANSCRIPTS", written_.c_str(), 1);
    }

private:
    const char* const before_ = std::getenv("LIGHTPEN_WRITE_TRANSCRIPTS");
    const std::string written_ = before_ ? before_ : "";

protected:
    TemporaryDirectory folder;
    const std::string file = folder.file("flow.txt");
};

TEST_F(TranscriptTest, WhatIsEqualHasNoDifference) {
    EXPECT_EQ(differenceOf({}, {}), "");
    EXPECT_EQ(differenceOf({"a", "b"}, {"a", "b"}), "");
}

TEST_F(TranscriptTest, EachDifferenceIsShownWithTheLinesAroundIt) {
    Lines expected{"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"};
    Lines got = expected;
    got[4] = "five";
    got.push_back("13");
    got.erase(got.begin());
    EXPECT_EQ(differenceOf(expected, got),
              "- 1\n  2\n  3\n  4\n- 5\n+ five\n  6\n  7\n  8\n  ...\n  10\n  11\n"
              "  12\n+ 13\n");
    EXPECT_EQ(differenceOf({"a"}, {}), "- a\n");
    EXPECT_EQ(differenceOf({}, {"a"}), "+ a\n");
    EXPECT_EQ(differenceOf({"a", "b"}, {"b", "a"}), "- a\n  b\n+ a\n") << "order counts";
    EXPECT_EQ(differenceOf({"a "}, {"a"}), "- a \n+ a\n") << "spaces too";
}

TEST_F(TranscriptTest, ATranscriptIsMatchedLineByLine) {
    writeFile(file, "# A flow\n1 one\n2 source(address)\n");
    EXPECT_TRUE(matchesTranscript(file, {"1 one", "2 source0x55d0c0ffee00"}));
    for (const Lines& other : {Lines{"1 one"}, Lines{"1 one", "2 source0x1234"}, Lines{}})
        EXPECT_FALSE(matchesTranscript(file, other));
    EXPECT_THAT(matchesTranscript(file, {"1 one"}).message(), HasSubstr("- 2 source(address)\n"));
}

TEST_F(TranscriptTest, OneThatIsMissingOrDoesNotSayWhatItIsMatchesNothing) {
    EXPECT_FALSE(matchesTranscript(file, {}));
    writeFile(file, "1 one\n");
    EXPECT_FALSE(matchesTranscript(file, {"1 one"}));
}

TEST_F(TranscriptTest, ARunThatWritesFails) {
    writeFile(file, "# A flow\n1 one\n");
    setenv("LIGHTPEN_WRITE_TRANSCRIPTS", "1", 1);
    EXPECT_FALSE(matchesTranscript(file, {"1 one"}));
    EXPECT_THAT(matchesTranscript(file, {"2 two"}).message(), HasSubstr("+ 2 two\n"));
    unsetenv("LIGHTPEN_WRITE_TRANSCRIPTS");
    EXPECT_TRUE(matchesTranscript(file, {"2 two"})) << "its first line stays";
}

} // namespace
} // namespace lightpen
