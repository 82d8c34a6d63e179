// SPDX-License-Identifier: MIT
#include "app/DefaultsReading.h"

#include <gtest/gtest.h>

#include "kit/TestPlatform.h"

namespace lightpen {
namespace {

TEST(DefaultsReadingTest, OnlyTrueIsTrue) {
    TestPlatform desk;
    EXPECT_FALSE(isSet("Help Menu"));
    desk.defaults.registered["Help Menu"] = true;
    EXPECT_TRUE(isSet("Help Menu"));
    for (const DefaultsValue& other :
         {DefaultsValue(false), DefaultsValue(std::int64_t{1}), DefaultsValue(std::string("true"))}) {
        desk.defaults.set["Help Menu"] = other;
        EXPECT_FALSE(isSet("Help Menu"));
    }
}

TEST(DefaultsReadingTest, OnlyTextIsText) {
    TestPlatform desk;
    EXPECT_EQ(stored<std::string>("Language"), std::nullopt);
    desk.defaults.set["Language"] = std::string("zh-Hant");
    EXPECT_EQ(stored<std::string>("Language"), "zh-Hant");
    for (const DefaultsValue& other :
         {DefaultsValue(true), DefaultsValue(std::int64_t{4}), DefaultsValue(1.5)}) {
        desk.defaults.set["Language"] = other;
        EXPECT_EQ(stored<std::string>("Language"), std::nullopt);
    }
}

} // namespace
} // namespace lightpen
