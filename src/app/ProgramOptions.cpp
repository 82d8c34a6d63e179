// SPDX-License-Identifier: MIT
#include "app/ProgramOptions.h"

namespace lightpen {

namespace {

// X11's session manager starts a program again with this option and a word, which Qt takes.
constexpr std::string_view kSessionOption = "-session";

// What is wrong with the option's value; empty when nothing is.
std::string takeValue(ProgramOptions& options, std::string_view value) {
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
        } else if (name != "--log" && name != kSessionOption) {
            problem = "Unknown option: " + name;
            return std::nullopt;
        } else if (++i == arguments.size()) {
            problem = name + " needs a value.";
            return std::nullopt;
        } else if (name == "--log" && !(problem = takeValue(options, arguments[i])).empty()) {
            return std::nullopt;
        }
    }
    return options;
}

} // namespace lightpen
