// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lightpen {

// A desktop entry: the keys of its main group, in their order. Comments and further groups are not kept.
class DesktopEntry {
public:
    // An entry of an application, with no keys but its type.
    DesktopEntry() : keys_{{"Type", "Application"}} {}
    // None when the text is no such entry: not UTF-8, another first group, a line that is neither a key nor a
    // comment.
    static std::optional<DesktopEntry> parse(std::string_view text);

    // The value of a key, as it is meant ("\s" is a space); none when there is no such key.
    std::optional<std::string> value(std::string_view key) const;
    // Gives the key this value, in its place or at the end. False, and nothing changes, when an entry cannot
    // hold the value: not UTF-8, or with control characters other than line breaks and tabs.
    bool set(std::string_view key, std::string_view value);

    // The whole file.
    std::string text() const;

private:
    std::vector<std::pair<std::string, std::string>> keys_; // with their values as they are written
};

// The command line ("Exec") that starts this program, wherever it is.
std::string commandLineOf(std::string_view program);

} // namespace lightpen
