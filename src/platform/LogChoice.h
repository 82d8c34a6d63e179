// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

namespace lightpen {

// Where a program's log goes.
enum class LogChoice {
    automatic,     // as standardError where that is a terminal, else as file
    standardError, // lines to standard error, text to standard output
    file,          // lines and text to the user's log file, and to standard error what somebody should act on
    none,          // nowhere
};

// For a user who has given the option "--log" another word.
inline constexpr const char* kLogProblem = "--log takes stderr, file or none.";

// The choice of that name; none when there is no such name.
constexpr std::optional<LogChoice> logChoiceNamed(std::string_view name) {
    if (name == "stderr")
        return LogChoice::standardError;
    if (name == "file")
        return LogChoice::file;
    return name == "none" ? std::optional(LogChoice::none) : std::nullopt;
}

} // namespace lightpen
