// SPDX-License-Identifier: MIT
// The driver program and a unit whose plug is pulled in a stroke, or while the driver waits for it; the
// pointer is watched where a desktop would listen to it.
#include <gtest/gtest.h>

#include "kernel/support/UnplugFixture.h"

namespace lightpen::test {
namespace {

using namespace std::chrono_literals;

class UnplugTest : public UnplugFixture {};

TEST_F(UnplugTest, InAStrokeReleasesTheButton) {
    plugIn();
    expectToWork();
    ASSERT_NO_FATAL_FAILURE(press());
    ASSERT_TRUE(buttonBecomes(true));
    unit_.unplug();
    ASSERT_TRUE(driver_.waitFor(kRemoved));
    EXPECT_TRUE(buttonBecomes(false)) << "the hand is still on the screen";
    unit_.lift();
    plugIn();
    expectToWork();
    expectToEnd();
}

TEST_F(UnplugTest, IsNotNeededToEndTheProgramWhileTheUnitNeverAnswers) {
    unit_.faults()->silent = true;
    plugIn();
    ASSERT_TRUE(driver_.waitFor(kReading));
    EXPECT_FALSE(driver_.waitFor(kFlashRead, 1s));
    expectToEnd();
}

TEST_F(UnplugTest, IsNotNeededWhenTheUnitReadsItsCommandsLater) {
    unit_.faults()->doesNotReadOutput = true;
    plugIn();
    ASSERT_TRUE(driver_.waitFor(kReading));
    EXPECT_FALSE(driver_.waitFor(kFlashRead, 6s)) << "longer than the kernel's own patience";
    unit_.faults()->doesNotReadOutput = false;
    expectToWork();
    expectToEnd();
}

class UnplugWaitTest : public UnplugFixture, public testing::WithParamInterface<bool Faults::*> {};

// The driver waits for an answer for as long as the unit is there.
TEST_P(UnplugWaitTest, EndsTheWaitForTheUnit) {
    (*unit_.faults()).*GetParam() = true;
    plugIn();
    ASSERT_TRUE(driver_.waitFor(kReading));
    EXPECT_FALSE(driver_.waitFor(kFlashRead, 3s));
    unit_.unplug();
    ASSERT_TRUE(driver_.waitFor(kRemoved));
    (*unit_.faults()).*GetParam() = false;
    plugIn();
    expectToWork();
    expectToEnd();
}

INSTANTIATE_TEST_SUITE_P(, UnplugWaitTest, testing::Values(&Faults::silent, &Faults::doesNotReadOutput),
                         [](const auto& test) {
                             return test.param == &Faults::silent ? "ThatNeverAnswers"
                                                                  : "ThatReadsNoCommands";
                         });

} // namespace
} // namespace lightpen::test
