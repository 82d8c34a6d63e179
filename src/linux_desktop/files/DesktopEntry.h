// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lightpen {

// The text of a desktop entry file, whose keys can be read and set. Everything that is not set stays as it
// is, to the byte: comments, unknown keys, further groups.
class DesktopEntry {
public:
    // An entry of an application, with no keys but its type.
    DesktopEntry();
    // None when the text is no such entry: not UTF-8, another first group, a line that says nothing.
    static std::optional<DesktopEntry> parse(std::string_view text);

    // The value of a key of the main group, as it is meant ("\s" is a space); none when there is no such key.
    std::optional<std::string> value(std::string_view key) const;
    // Gives the key this value, in its line or in a new one. False, and nothing changes, when an entry
    // cannot hold the value: not UTF-8, or with control characters other than line breaks and tabs.
    bool set(std::string_view key, std::string_view value);

    // The whole file; lines that nobody set are as they were read.
    std::string text() const;

private:
    // The line of the key; none when the main group has no such line.
    std::optional<std::size_t> find(std::string_view key) const;

    std::vector<std::string> lines_; // without their line breaks
    std::size_t begin_ = 0;          // the main group's lines: behind its header
    std::size_t end_ = 0;
};

// The command line ("Exec") that starts this program, wherever it is.
std::string commandLineOf(std::string_view program);
// The program that such a command line starts; empty when there is none.
std::string programOf(std::string_view commandLine);

} // namespace lightpen
