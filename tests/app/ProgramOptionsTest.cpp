// SPDX-License-Identifier: MIT
#include "app/ProgramOptions.h"

#include <gtest/gtest.h>

#include <vector>

namespace lightpen {
namespace {

struct ProgramOptionsTest : testing::Test {
    std::string problem;
    std::optional<ProgramOptions> read(const std::vector<std::string_view>& arguments) {
        return programOptions(arguments, problem);
    }
};

TEST_F(ProgramOptionsTest, WithoutAnyTheSettingsDecide) {
    const auto options = read({});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->log, LogChoice::automatic);
    EXPECT_FALSE(options->help || options->version || options->list);
    EXPECT_TRUE(options->devices.empty());
}

TEST_F(ProgramOptionsTest, EachIsTaken) {
    EXPECT_EQ(read({"--log", "stderr"})->log, LogChoice::standardError);
    EXPECT_EQ(read({"--log", "file"})->log, LogChoice::file);
    EXPECT_EQ(read({"--log", "none"})->log, LogChoice::none);
    EXPECT_EQ(read({"--log", "file", "--log", "none"})->log, LogChoice::none);
    EXPECT_EQ(read({"--screen", "HDMI-1"})->screen, "HDMI-1");
    for (const char* action : {"show", "calibrate", "settings", "help"})
        EXPECT_EQ(read({"--action", action})->action, action);
    const auto both = read({"--help", "--log", "none"});
    ASSERT_TRUE(both);
    EXPECT_TRUE(both->help);
    EXPECT_EQ(both->log, LogChoice::none);
    EXPECT_TRUE(read({"--version"})->version);
    const auto list = read({"--list", "--screen", "HDMI-1"});
    EXPECT_TRUE(list->list);
    EXPECT_FALSE(list->version || list->help);
}

TEST_F(ProgramOptionsTest, DevicesAreGathered) {
    const auto options = read({"--device", "1a2b:0003", "--device", "FFFF:1"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->devices, (std::vector<UsbIdentifier>{{0x1A2B, 3}, {0xFFFF, 1}}));
}

TEST_F(ProgramOptionsTest, ASessionManagersOptionIsForQt) {
    const auto options = read({"-session", "11c0a8_1672500000_4711", "--log", "file"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->log, LogChoice::file);
    EXPECT_TRUE(options->restored);
    EXPECT_FALSE(read({})->restored);
}

TEST_F(ProgramOptionsTest, WhatCannotBeUnderstoodIsNamed) {
    for (const char* unknown : {"--colour", "help", "-log", "--log=file", ""}) {
        EXPECT_FALSE(read({"--log", "file", unknown})) << unknown;
        EXPECT_EQ(problem, std::string("Unknown option: ") + unknown);
    }
    EXPECT_FALSE(read({"--screen"}));
    EXPECT_EQ(problem, "--screen needs a value.");
    EXPECT_FALSE(read({"--screen", ""}));
    EXPECT_EQ(problem, "--screen takes the name of a screen.");
    for (const char* value : {"", "Show", "quit", "--list"}) {
        EXPECT_FALSE(read({"--action", value})) << value;
        EXPECT_EQ(problem, "--action takes show, calibrate, settings or help.");
    }
    for (const char* value : {"", "1209", "1209:00001", "12g9:1", "0x1209:0001"}) {
        EXPECT_FALSE(read({"--device", value})) << value;
        EXPECT_EQ(problem, kDeviceProblem);
    }
    EXPECT_FALSE(read({"--log"}));
    EXPECT_EQ(problem, "--log needs a value.");
    for (const char* value : {"", "automatic", "/tmp/log", "--help"}) {
        EXPECT_FALSE(read({"--log", value})) << value;
        EXPECT_EQ(problem, "--log takes stderr, file or none.");
    }
}

} // namespace
} // namespace lightpen
