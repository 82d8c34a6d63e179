// SPDX-License-Identifier: MIT
#include "linux_desktop/process/RootUser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"

namespace lightpen {
namespace {

TEST(RootUser, OneLineSaysWhyNotToBeRoot) {
    const RecordingLog log;
    warnOfRoot(0);
    EXPECT_THAT(log.lines(), testing::ElementsAre(testing::MatchesRegex(
                                 "Application: started as root; .* start it as the user at the screen")));
}

TEST(RootUser, ToOthersNothingIsSaid) {
    const RecordingLog log;
    warnOfRoot(1);
    warnOfRoot(1000);
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

} // namespace
} // namespace lightpen
