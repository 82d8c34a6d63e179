// SPDX-License-Identifier: MIT
#include "platform/Platform.h"

#include <gtest/gtest.h>

#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

TEST(PlatformTest, TheCurrentPlatformIsTheOneThatWasSet) {
    TestPlatform desk;
    EXPECT_EQ(&Platform::current(), &desk.platform);
    EXPECT_EQ(&Platform::current().clock, &desk.clock);
}

TEST(PlatformDeathTest, WithoutOneTheProgramEndsWithAMessage) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    Platform::setCurrent(nullptr);
    EXPECT_EXIT(Platform::current(), testing::ExitedWithCode(1), "before it was put together");
}

} // namespace
} // namespace lightpen
