// SPDX-License-Identifier: MIT
#include "emulated/EmulatedOptions.h"

#include <algorithm>
#include <charconv>

#include "emulated/UnitControl.h"

namespace lightpen {

namespace {

// The switch of that name; null when there is none.
bool* switchNamed(EmulatedOptions& options, std::string_view name) {
    if (name == "--plugged")
        return &options.plugged;
    if (name == "--calibrated")
        return &options.calibrated;
    if (name == "--stray-light")
        return &options.strayLight;
    if (name == "--no-hand")
        return &options.hand;
    if (name == "--commands")
        return &options.commands;
    if (name == "--xtest")
        return &options.xtest;
    return name == "--help" ? &options.help : nullptr;
}

// What is wrong with the option and its value; empty when nothing is.
std::string takeValue(EmulatedOptions& options, std::string_view name, std::string_view value) {
    if (name == "--pose") {
        const auto poses = UnitControl::poses();
        options.pose = value;
        return std::ranges::find(poses, value) == poses.end() ? "There is no pose " + options.pose + "." : "";
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
        if (bool* const flag = switchNamed(options, name)) {
            *flag = name != "--no-hand";
        } else if (name != "--wireless" && name != "--pose") {
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
