// SPDX-License-Identifier: MIT
#include "platform/LogChoice.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

TEST(LogChoice, HasTheThreeNamesThatAUserWrites) {
    EXPECT_EQ(logChoiceNamed("stderr"), LogChoice::standardError);
    EXPECT_EQ(logChoiceNamed("file"), LogChoice::file);
    EXPECT_EQ(logChoiceNamed("none"), LogChoice::none);
    for (const char* other : {"", "automatic", "Stderr", "file ", "nonesuch"})
        EXPECT_EQ(logChoiceNamed(other), std::nullopt) << other;
}

} // namespace
} // namespace lightpen
