// SPDX-License-Identifier: MIT
// The plug is pulled in the later exchanges of the driver program with a unit that it opens.
#include <gtest/gtest.h>

#include "kernel/support/UnplugFixture.h"

namespace lightpen::test {
namespace {

using namespace std::chrono_literals;
using When = UnplugPoint::When;

using UnplugLaterStepsTest = UnplugStepFixture;

TEST_P(UnplugLaterStepsTest, EndsTheOpeningAndTheReplugIsReadWhole) {
    expectToBeMadeGood();
}

INSTANTIATE_TEST_SUITE_P(
    , UnplugLaterStepsTest,
    testing::Values(UnplugStep{'H', 3, When::afterCommand}, UnplugStep{'H', 3, When::afterReply, 40ms},
                    UnplugStep{'H', 4, When::midReply}, UnplugStep{'H', 4, When::afterReply},
                    UnplugStep{'W', 1, When::afterCommand}, UnplugStep{'T', 1, When::afterCommand, 3ms}),
    nameOfStep);

} // namespace
} // namespace lightpen::test
