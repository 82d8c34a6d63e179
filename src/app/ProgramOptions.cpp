// SPDX-License-Identifier: MIT
#include "app/ProgramOptions.h"

#include "platform/Screen.h"

namespace lightpen {

namespace {

// X11's session manager starts a program again with this option and a word, which Qt takes.
constexpr std::string_view kSessionOption = "-session";

// What is wrong with the option's value; empty when nothing is.
std::string takeValue(ProgramOptions& options, std::string_view name, std::string_view value) {
    if (name == kSessionOption)
        return "";
    if (name == "--screen") {
        options.screen = value;
        return value.empty() ? kScreenProblem : "";
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
        if (name == "--help") {
            options.help = true;
        } else if (name != "--log" && name != "--screen" && name != kSessionOption) {
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
