// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace lightpen {

// Compares what a flow has said and done with the transcript of it, a text file: a line for each, and lines
// that begin with "#" say what the flow is. Addresses differ from run to run; both sides say "(address)" for
// them. A failure shows the lines around each difference, "-" before what is missing and "+" before what is
// new.
//
// Behaviour that is to change is written down anew by the tests themselves:
//
//   LIGHTPEN_WRITE_TRANSCRIPTS=1 build/dev/tests/device/device_tests --gtest_filter='*Transcript*'
//
// Such a run replaces the files that differ and fails, since it has compared nothing. Read the difference
// with git before it is committed: it is what a user's log will show.
testing::AssertionResult matchesTranscript(const std::string& file, const std::vector<std::string>& happened);

// The difference in words; empty where there is none.
std::string differenceOf(const std::vector<std::string>& expected, const std::vector<std::string>& got);

} // namespace lightpen
