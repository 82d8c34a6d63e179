// SPDX-License-Identifier: MIT
#include "linux_desktop/files/DesktopEntry.h"

#include <algorithm>

#include "linux_desktop/files/Utf8.h"

namespace lightpen {

namespace {

constexpr std::string_view kMainGroup = "[Desktop Entry]";
constexpr std::string_view kBlank = " \t\r";
// Characters that may not stand in a word of a command line without quotes.
constexpr std::string_view kReserved = " \t\n\"'\\><~|&;$*?#()`";
// Those of them that mean something inside quotes, too.
constexpr std::string_view kQuotedReserved = "\"`$\\";

struct Escape {
    char letter;
    char meaning;
};
constexpr Escape kEscapes[] = {{'s', ' '}, {'n', '\n'}, {'t', '\t'}, {'r', '\r'}, {'\\', '\\'}};

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

bool saysNothing(std::string_view line) {
    const auto text = trimmed(line);
    return text.empty() || text.front() == '#';
}

bool isGroup(std::string_view line) {
    return trimmed(line).starts_with('[');
}

bool isOf(std::string_view line, std::string_view key) {
    return !saysNothing(line) && trimmed(line.substr(0, line.find('='))) == key;
}

// What the escapes of a value mean; one that is none is left as it is written.
std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto* escape = std::end(kEscapes);
        if (text[i] == '\\' && i + 1 < text.size())
            escape = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                  [&](const Escape& known) { return known.letter == text[i + 1]; });
        if (escape == std::end(kEscapes)) {
            result += text[i];
        } else {
            result += escape->meaning;
            ++i;
        }
    }
    return result;
}

// A space needs its escape only where readers cut blanks off.
std::string escaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto* escape = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                          [&](const Escape& known) { return known.meaning == text[i]; });
        const bool innerSpace = text[i] == ' ' && i > 0 && i + 1 < text.size();
        if (escape == std::end(kEscapes) || innerSpace)
            result += text[i];
        else
            result += {'\\', escape->letter};
    }
    return result;
}

bool canBeHeld(std::string_view value) {
    return isUtf8(value) && std::all_of(value.begin(), value.end(), [](char letter) {
               return letter == '\n' || letter == '\t' || letter == '\r' ||
                      (static_cast<unsigned char>(letter) >= 0x20 && letter != 0x7F);
           });
}

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

} // namespace

DesktopEntry::DesktopEntry()
    : lines_{std::string(kMainGroup), "Type=Application"}, begin_(1), end_(lines_.size()) {}

std::optional<DesktopEntry> DesktopEntry::parse(std::string_view text) {
    if (!isUtf8(text) || text.find('\0') != std::string_view::npos)
        return std::nullopt;
    DesktopEntry entry;
    entry.lines_ = linesOf(text);
    const auto first = std::find_if_not(entry.lines_.begin(), entry.lines_.end(), saysNothing);
    if (first == entry.lines_.end() || trimmed(*first) != kMainGroup)
        return std::nullopt;
    const auto last = std::find_if(first + 1, entry.lines_.end(), isGroup);
    const bool sound = std::all_of(first + 1, last, [](const std::string& line) {
        return saysNothing(line) || line.find('=') != std::string::npos;
    });
    if (!sound)
        return std::nullopt;
    entry.begin_ = static_cast<std::size_t>(first + 1 - entry.lines_.begin());
    entry.end_ = static_cast<std::size_t>(last - entry.lines_.begin());
    return entry;
}

std::optional<std::size_t> DesktopEntry::find(std::string_view key) const {
    for (std::size_t line = begin_; line < end_; ++line)
        if (isOf(lines_[line], key))
            return line;
    return std::nullopt;
}

std::optional<std::string> DesktopEntry::value(std::string_view key) const {
    const auto line = find(key);
    if (!line)
        return std::nullopt;
    const std::string_view text = lines_[*line];
    return unescaped(trimmed(text.substr(text.find('=') + 1)));
}

bool DesktopEntry::set(std::string_view key, std::string_view value) {
    if (!canBeHeld(value))
        return false;
    std::string line = std::string(key) + '=' + escaped(value);
    if (const auto present = find(key)) {
        if (lines_[*present].ends_with('\r'))
            line += '\r';
        lines_[*present] = std::move(line);
        return true;
    }
    // Behind the last line that says something, before the blank ones that part groups.
    std::size_t place = end_;
    while (place > begin_ && saysNothing(lines_[place - 1]))
        --place;
    if (lines_[place - 1].ends_with('\r'))
        line += '\r';
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(place), std::move(line));
    ++end_;
    return true;
}

std::string DesktopEntry::text() const {
    std::string text;
    for (const std::string& line : lines_)
        text += line + '\n';
    return text;
}

std::string commandLineOf(std::string_view program) {
    const bool plain = !program.empty() && program.find_first_of(kReserved) == std::string_view::npos;
    std::string word;
    for (const char letter : program) {
        if (kQuotedReserved.find(letter) != std::string_view::npos)
            word += '\\';
        word += letter;
        if (letter == '%') // alone it would be the mark of a file to open
            word += letter;
    }
    return plain ? word : '"' + word + '"';
}

std::string programOf(std::string_view commandLine) {
    std::string program;
    bool quoted = false;
    for (std::size_t i = 0; i < commandLine.size(); ++i) {
        const char letter = commandLine[i];
        const bool pair = i + 1 < commandLine.size();
        if (letter == '"') {
            quoted = !quoted;
            continue;
        }
        if (!quoted && (letter == ' ' || letter == '\t')) {
            if (!program.empty())
                break;
            continue;
        }
        if (pair && ((quoted && letter == '\\') || (letter == '%' && commandLine[i + 1] == '%')))
            ++i;
        program += commandLine[i];
    }
    return program;
}

} // namespace lightpen
