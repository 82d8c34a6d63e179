// SPDX-License-Identifier: MIT
#include "linux_desktop/files/DesktopEntry.h"

#include <algorithm>

#include <QUtf8StringView>

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

// The next line that says something, without the blanks around it; the text goes on behind it. Empty at the
// end.
std::string_view nextLine(std::string_view& text) {
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        const auto line = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!line.empty() && line.front() != '#')
            return line;
    }
    return {};
}

bool isUtf8(std::string_view text) {
    return QUtf8StringView(text.data(), static_cast<qsizetype>(text.size())).isValidUtf8();
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

} // namespace

std::optional<DesktopEntry> DesktopEntry::parse(std::string_view text) {
    if (!isUtf8(text) || text.find('\0') != std::string_view::npos || nextLine(text) != kMainGroup)
        return std::nullopt;
    DesktopEntry entry;
    entry.keys_.clear();
    for (auto line = nextLine(text); !line.empty() && line.front() != '['; line = nextLine(text)) {
        const auto equals = line.find('=');
        if (equals == std::string_view::npos)
            return std::nullopt;
        entry.keys_.emplace_back(trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)));
    }
    return entry;
}

std::optional<std::string> DesktopEntry::value(std::string_view key) const {
    for (const auto& [name, value] : keys_)
        if (name == key)
            return unescaped(value);
    return std::nullopt;
}

bool DesktopEntry::set(std::string_view key, std::string_view value) {
    if (!canBeHeld(value))
        return false;
    const auto found =
        std::find_if(keys_.begin(), keys_.end(), [&](const auto& known) { return known.first == key; });
    if (found == keys_.end())
        keys_.emplace_back(key, escaped(value));
    else
        found->second = escaped(value);
    return true;
}

std::string DesktopEntry::text() const {
    std::string text = std::string(kMainGroup) + '\n';
    for (const auto& [name, value] : keys_)
        text += name + '=' + value + '\n';
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
