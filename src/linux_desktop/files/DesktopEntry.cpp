// SPDX-License-Identifier: MIT
#include "linux_desktop/files/DesktopEntry.h"

#include <algorithm>

#include <QByteArray>
#include <QByteArrayList>

namespace lightpen {

namespace {

constexpr const char* kMainGroup = "[Desktop Entry]";
// Characters that may not stand in a word of a command line without quotes.
constexpr std::string_view kReserved = " \t\n\"'\\><~|&;$*?#()`";
// Those of them that mean something inside quotes, too.
constexpr std::string_view kQuotedReserved = "\"`$\\";

// What the escapes of a value mean; one that is none is left as it is written.
std::string unescaped(std::string_view text) {
    constexpr std::string_view letters = "sntr\\";
    constexpr std::string_view meanings = " \n\t\r\\";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool pair = text[i] == '\\' && i + 1 < text.size();
        const auto escape = pair ? letters.find(text[i + 1]) : std::string_view::npos;
        if (escape != std::string_view::npos)
            ++i;
        result += escape != std::string_view::npos ? meanings[escape] : text[i];
    }
    return result;
}

// A space needs its escape only where readers cut blanks off.
QByteArray escaped(QByteArray text) {
    text.replace("\\", "\\\\").replace("\n", "\\n").replace("\t", "\\t").replace("\r", "\\r");
    if (text.startsWith(' '))
        text.replace(0, 1, "\\s");
    if (text.endsWith(' '))
        text.replace(text.size() - 1, 1, "\\s");
    return text;
}

QByteArray bytesOf(std::string_view text) {
    return {text.data(), static_cast<qsizetype>(text.size())};
}

bool canBeHeld(std::string_view value) {
    return bytesOf(value).isValidUtf8() && std::all_of(value.begin(), value.end(), [](char letter) {
               return letter == '\n' || letter == '\t' || letter == '\r' ||
                      (static_cast<unsigned char>(letter) >= 0x20 && letter != 0x7F);
           });
}

} // namespace

std::optional<DesktopEntry> DesktopEntry::parse(std::string_view text) {
    const QByteArray bytes = bytesOf(text);
    if (!bytes.isValidUtf8() || bytes.contains('\0'))
        return std::nullopt;
    std::optional<DesktopEntry> entry; // once its group has begun
    for (const QByteArray& untrimmed : bytes.split('\n')) {
        const QByteArray line = untrimmed.trimmed();
        const auto equals = line.indexOf('=');
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        if (!entry && line == kMainGroup)
            entry.emplace().keys_.clear();
        else if (entry && line.startsWith('['))
            break;
        else if (entry && equals >= 0)
            entry->keys_.emplace_back(line.left(equals).trimmed().toStdString(),
                                      line.mid(equals + 1).trimmed().toStdString());
        else
            return std::nullopt;
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
    const std::string written = escaped(bytesOf(value)).toStdString();
    const auto found =
        std::find_if(keys_.begin(), keys_.end(), [&](const auto& known) { return known.first == key; });
    if (found == keys_.end())
        keys_.emplace_back(key, written);
    else
        found->second = written;
    return true;
}

std::string DesktopEntry::text() const {
    std::string text = kMainGroup + std::string(1, '\n');
    for (const auto& [name, value] : keys_)
        text.append(name).append(1, '=').append(value).append(1, '\n');
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

} // namespace lightpen
