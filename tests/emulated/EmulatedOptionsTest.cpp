// SPDX-License-Identifier: MIT
#include "emulated/EmulatedOptions.h"

#include <gtest/gtest.h>

#include <vector>

namespace lightpen {
namespace {

struct EmulatedOptionsTest : testing::Test {
    std::string problem;
    std::optional<EmulatedOptions> read(const std::vector<std::string_view>& arguments) {
        return emulatedOptions(arguments, problem);
    }
};

TEST_F(EmulatedOptionsTest, WithoutAnyTheUnitLiesBesideTheMachine) {
    const auto options = read({});
    ASSERT_TRUE(options);
    EXPECT_FALSE(options->plugged || options->calibrated || options->strayLight || options->commands ||
                 options->xtest || options->help);
    EXPECT_TRUE(options->hand);
    EXPECT_EQ(options->wireless, std::nullopt);
    EXPECT_EQ(options->pose, "");
}

TEST_F(EmulatedOptionsTest, EachSwitchIsItsOwn) {
    EXPECT_TRUE(read({"--plugged"})->plugged);
    EXPECT_TRUE(read({"--calibrated"})->calibrated);
    EXPECT_TRUE(read({"--stray-light"})->strayLight);
    EXPECT_TRUE(read({"--commands"})->commands);
    EXPECT_TRUE(read({"--xtest"})->xtest);
    EXPECT_TRUE(read({"--help"})->help);
    EXPECT_TRUE(read({"--version"})->version);
    EXPECT_FALSE(read({"--help"})->version);
    const auto without = read({"--no-hand"});
    EXPECT_FALSE(without->hand || without->plugged || without->calibrated || without->strayLight ||
                 without->commands || without->xtest || without->help);
}

TEST_F(EmulatedOptionsTest, Values) {
    const auto options = read({"--wireless", "0", "--plugged", "--pose", "rotated"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->wireless, 0);
    EXPECT_EQ(options->pose, "rotated");
    EXPECT_TRUE(options->plugged);
    EXPECT_EQ(read({"--wireless", "255"})->wireless, 255);
    EXPECT_EQ(options->log, LogChoice::automatic);
    EXPECT_EQ(read({"--log", "file"})->log, LogChoice::file);
}

TEST_F(EmulatedOptionsTest, WhatCannotBeUnderstoodIsNamed) {
    EXPECT_FALSE(read({"--plugged", "--colour"}));
    EXPECT_EQ(problem, "Unknown option: --colour");
    EXPECT_FALSE(read({"plugged"}));
    EXPECT_EQ(problem, "Unknown option: plugged");
    EXPECT_FALSE(read({"--pose"}));
    EXPECT_EQ(problem, "--pose needs a value.");
    EXPECT_FALSE(read({"--pose", "upside-down"}));
    EXPECT_EQ(problem, "There is no pose upside-down.");
    EXPECT_FALSE(read({"--log", "journal"}));
    EXPECT_EQ(problem, "--log takes stderr, file or none.");
    for (const char* value : {"256", "-1", "one", "", "1 "}) {
        EXPECT_FALSE(read({"--wireless", value})) << value;
        EXPECT_EQ(problem, "--wireless takes a number from 0 to 255.");
    }
}

} // namespace
} // namespace lightpen
