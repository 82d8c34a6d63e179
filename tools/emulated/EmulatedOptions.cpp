// SPDX-License-Identifier: MIT
#include "emulated/EmulatedOptions.h"

#include <algorithm>
#include <charconv>

#include "emulated/UnitControl.h"
#include "platform/Screen.h"

namespace lightpen {

namespace {

struct Switch {
    std::string_view name;
    bool EmulatedOptions::*flag;
};
constexpr Switch kSwitches[] = {
    {"--plugged", &EmulatedOptions::plugged},        {"--calibrated", &EmulatedOptions::calibrated},
    {"--stray-light", &EmulatedOptions::strayLight}, {"--no-hand", &EmulatedOptions::hand},
    {"--commands", &EmulatedOptions::commands},      {"--xtest", &EmulatedOptions::xtest},
    {"--version", &EmulatedOptions::version},        {"--help", &EmulatedOptions::help}};

// What is wrong with the option and its value; empty when nothing is.
std::string takeValue(EmulatedOptions& options, std::string_view name, std::string_view value) {
    if (name == "--pose") {
        const auto poses = UnitControl::poses();
        options.pose = value;
        return std::ranges::find(poses, value) == poses.end() ? "There is no pose " + options.pose + "." : "";
    }
    if (name == "--screen") {
        options.screen = value;
        return value.empty() ? kScreenProblem : "";
    }
    if (name == "--log") {
        const auto choice = logChoiceNamed(value);
        options.log = choice.value_or(LogChoice::automatic);
        return choice ? "" : kLogProblem;
    }
    std::uint8_t byte = 0;
    const auto [end, wrong] = std::from_chars(value.data(), value.data() + value.size(), byte);
    if (wrong != std::errc() || end != value.data() + value.size())
        return "--wireless takes a number from 0 to 255.";
    options.wireless = byte;
    return {};
}

} // namespace

std::optional<EmulatedOptions> emulatedOptions(std::span<const std::string_view> arguments,
                                               std::string& problem) {
    EmulatedOptions options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string name(arguments[i]);
        if (const auto* const found = std::ranges::find(kSwitches, name, &Switch::name);
            found != std::end(kSwitches)) {
            options.*found->flag = name != "--no-hand";
        } else if (name != "--wireless" && name != "--pose" && name != "--log" && name != "--screen") {
            problem = "Unknown option: " + name;
            return std::nullopt;
        } else if (++i == arguments.size()) {
            problem = name + " needs a value.";
            return std::nullopt;
        } else if (problem = takeValue(options, name, arguments[i]); !problem.empty()) {
            return std::nullopt;
        }
    }
    return options;
}

} // namespace lightpen
