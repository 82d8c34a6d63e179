// SPDX-License-Identifier: MIT
#include "platform/Sounds.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

class Silent final : public Sound {
public:
    explicit Silent(std::string name) : Sound(std::move(name)) {}
    void play() override {}
};

TEST(SoundsTest, SoundsOfOneNameAreEqual) {
    const Silent tink("Tink"), other("Tink"), submarine("Submarine");
    EXPECT_EQ(tink.name(), "Tink");
    EXPECT_TRUE(tink == other);
    EXPECT_FALSE(tink == submarine);
    EXPECT_TRUE(tink != submarine);
}

} // namespace
} // namespace lightpen
