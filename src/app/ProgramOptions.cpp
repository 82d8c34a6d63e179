// SPDX-License-Identifier: MIT
#include "app/ProgramOptions.h"

#include <algorithm>

#include "platform/Screen.h"

namespace lightpen {

namespace {

// X11's session manager starts a program again with this option and a word, which Qt takes.
constexpr std::string_view kSessionOption = "-session";

struct Switch {
    std::string_view name;
    bool ProgramOptions::*flag;
};
constexpr Switch kSwitches[] = {{"--help", &ProgramOptions::help},
                                {"--version", &ProgramOptions::version},
                                {"--list", &ProgramOptions::list}};
constexpr std::string_view kWithValue[] = {"--log", "--screen", "--device", "--action", kSessionOption};

constexpr std::string_view kActions[] = {"show", "calibrate", "settings", "help"};
constexpr const char* kActionProblem = "--action takes show, calibrate, settings or help.";

// What is wrong with the option's value; empty when nothing is.
std::string takeValue(ProgramOptions& options, std::string_view name, std::string_view value) {
    if (name == kSessionOption) {
        options.restored = true;
        return "";
    }
    if (name == "--action") {
        options.action = value;
        return std::ranges::find(kActions, value) != std::end(kActions) ? "" : kActionProblem;
    }
    if (name == "--screen") {
        options.screen = value;
        return value.empty() ? kScreenProblem : "";
    }
    if (name == "--device") {
        const auto device = usbIdentifierNamed(value);
        options.devices.push_back(device.value_or(UsbIdentifier()));
        return device ? "" : kDeviceProblem;
    }
    const auto choice = logChoiceNamed(value);
    options.log = choice.value_or(LogChoice::automatic);
    return choice ? "" : kLogProblem;
}

} // namespace

std::optional<ProgramOptions> programOptions(std::span<const std::string_view> arguments,
                                             std::string& problem) {
    ProgramOptions options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string name(arguments[i]);
        if (const auto* const found = std::ranges::find(kSwitches, name, &Switch::name);
            found != std::end(kSwitches)) {
            options.*found->flag = true;
        } else if (std::ranges::find(kWithValue, name) == std::end(kWithValue)) {
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
