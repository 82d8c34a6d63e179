// SPDX-License-Identifier: MIT
// The plug is pulled while the driver program reads the flash, in the first two exchanges.
#include <gtest/gtest.h>

#include "kernel/support/UnplugFixture.h"

namespace lightpen::test {
namespace {

using namespace std::chrono_literals;
using When = UnplugPoint::When;

using UnplugFirstReadsTest = UnplugStepFixture;

TEST_P(UnplugFirstReadsTest, EndsTheOpeningAndTheReplugIsReadWhole) {
    expectToBeMadeGood();
}

INSTANTIATE_TEST_SUITE_P(, UnplugFirstReadsTest,
                         testing::Values(UnplugStep{'H', 1, When::beforeCommand},
                                         UnplugStep{'H', 1, When::midReply},
                                         UnplugStep{'H', 1, When::afterReply, 90ms},
                                         UnplugStep{'H', 2, When::beforeReply},
                                         UnplugStep{'H', 2, When::afterReply}),
                         nameOfStep);

} // namespace
} // namespace lightpen::test
