// SPDX-License-Identifier: MIT
#include "webcam/WebcamOptions.h"

#include <gtest/gtest.h>

#include <vector>

namespace lightpen::webcam {
namespace {

std::optional<WebcamOptions> parsed(const std::vector<std::string_view>& arguments) {
    std::string problem;
    auto options = webcamOptions(arguments, problem);
    EXPECT_EQ(options.has_value(), problem.empty());
    return options;
}

TEST(WebcamOptionsTest, WithoutOptionsItIsTheBestCamera) {
    const auto options = parsed({});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->camera, "");
    EXPECT_FALSE(options->report || options->program.list || options->program.help);
}

TEST(WebcamOptionsTest, ItsOwnStandAmongTheCommonOnes) {
    const auto options =
        parsed({"--log", "stderr", "--camera", "/dev/video2", "--report", "--screen", "HDMI-1"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->camera, "/dev/video2");
    EXPECT_TRUE(options->report);
    EXPECT_EQ(options->program.log, LogChoice::standardError);
    EXPECT_EQ(options->program.screen, "HDMI-1");
}

TEST(WebcamOptionsTest, AValueMayLookLikeAnOption) {
    const auto options = parsed({"--screen", "--camera", "--action", "show"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->camera, "");
    EXPECT_EQ(options->program.screen, "--camera");
    EXPECT_FALSE(parsed({"--screen", "--report"})->report);
    EXPECT_FALSE(parsed({"--action", "--report"})) << "it is none of the actions, and no option either";
}

TEST(WebcamOptionsTest, WhatCannotBeUnderstoodIsAProblem) {
    EXPECT_FALSE(parsed({"--camera"}));
    EXPECT_FALSE(parsed({"--camera", ""}));
    EXPECT_FALSE(parsed({"--screen"}));
    EXPECT_FALSE(parsed({"--log", "elsewhere"}));
    EXPECT_FALSE(parsed({"--device", "1209:0001"})) << "units on a cable are not looked for";
    EXPECT_FALSE(parsed({"--cameras"}));
}

} // namespace
} // namespace lightpen::webcam
