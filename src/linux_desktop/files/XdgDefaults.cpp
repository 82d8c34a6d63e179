// SPDX-License-Identifier: MIT
#include "linux_desktop/files/XdgDefaults.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include <QLockFile>
#include <QSettings>
#include <QUtf8StringView>

#include "linux_desktop/files/PlainFile.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

// The mark of a string that would otherwise read as something else.
constexpr char kStringMark = '\'';
// Far above what anybody types.
constexpr std::size_t kLargest = 1024 * 1024;
// Another program's turn takes a few milliseconds.
constexpr std::chrono::milliseconds kLockPatience{500};

template <class Number>
std::optional<Number> wholeNumber(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

DefaultsValue decode(std::string_view text) {
    if (text == "true" || text == "false")
        return text == "true";
    if (const auto number = wholeNumber<std::int64_t>(text))
        return *number;
    if (const auto number = wholeNumber<double>(text); number && std::isfinite(*number))
        return *number;
    if (text.starts_with(kStringMark))
        text.remove_prefix(1);
    return std::string(text);
}

// The shortest text that decode() turns back into the same value.
std::string encode(const DefaultsValue& value) {
    if (const auto* flag = std::get_if<bool>(&value))
        return *flag ? "true" : "false";
    if (const auto* number = std::get_if<std::int64_t>(&value))
        return std::to_string(*number);
    if (const auto* number = std::get_if<double>(&value)) {
        char digits[32];
        const auto end = std::to_chars(digits, digits + sizeof digits, *number).ptr;
        std::string text(digits, end);
        return text.find_first_of(".e") == std::string::npos && std::isfinite(*number) ? text + ".0" : text;
    }
    const auto& text = std::get<std::string>(value);
    const bool plain = std::holds_alternative<std::string>(decode(text)) && !text.starts_with(kStringMark);
    return plain ? text : kStringMark + text;
}

// The value as one of the same type as the registered one; none when it is another.
std::optional<DefaultsValue> asTypeOf(const DefaultsValue& registered, const DefaultsValue& value) {
    const auto* whole = std::get_if<std::int64_t>(&value);
    if (whole && std::holds_alternative<double>(registered))
        return static_cast<double>(*whole);
    return value.index() == registered.index() ? std::optional(value) : std::nullopt;
}

// What a user has to write for such a value.
const char* kindOf(const DefaultsValue& value) {
    if (std::holds_alternative<bool>(value))
        return "true or false";
    if (std::holds_alternative<std::int64_t>(value))
        return "a whole number";
    return std::holds_alternative<double>(value) ? "a number" : "a text";
}

// A comma makes Qt read several values out of what somebody has typed as one.
std::string textOf(const QVariant& value) {
    return value.toStringList().join(QLatin1String(", ")).toStdString();
}

unsigned valueOf(char digit) {
    return static_cast<unsigned>(digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10);
}

// What a backslash and what follows stand for: a character, or nothing where Qt leaves it out.
struct Escape {
    std::size_t length = 0;
    std::optional<char> character;
};

// Of a text that begins with a backslash. Which character it is counts for those alone that are given by a
// number below 128: no others can disguise a letter.
Escape firstEscape(std::string_view text) {
    constexpr std::string_view kLetters = "abfnrtv\"?'\\";
    constexpr char kOther = '?';
    if (text.size() > 1 && kLetters.find(text[1]) != std::string_view::npos)
        return {2, kOther};
    // A character by its number, of which Qt takes 16 bits; else one that Qt leaves out.
    const bool hexadecimal = text.substr(1).starts_with('x');
    const std::size_t first = hexadecimal ? 2 : 1;
    const auto end = std::min(
        text.find_first_not_of(hexadecimal ? "0123456789abcdefABCDEF" : "01234567", first), text.size());
    if (end <= first)
        return {2, std::nullopt};
    unsigned number = 0;
    for (const char digit : text.substr(first, end - first))
        number = number * (hexadecimal ? 16 : 8) + valueOf(digit);
    return {end, (number & 0xFFFF) < 0x80 ? static_cast<char>(number) : kOther};
}

// What is written there, without quotes, spaces and escapes that may stand before the first letter of a
// value or between its letters.
std::string withoutDisguise(std::string_view text) {
    std::string plain;
    bool spaceCounts = true; // not where a value or a part of one begins, or after a quote
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\\') {
            const auto [length, character] = firstEscape(text.substr(i));
            if (character)
                plain += *character;
            spaceCounts = spaceCounts || character;
            i += length - 1;
        } else if (c == '"') {
            spaceCounts = false;
        } else if (c != '\r' && c != '\n' && (spaceCounts || (c != ' ' && c != '\t'))) {
            plain += c;
            spaceCounts = c != '=' && c != ',';
        }
    }
    return plain;
}

// Qt makes objects of any kind and size out of a value, or a part of one, that begins like this.
bool makesObjects(std::string_view text) {
    const std::string plain = withoutDisguise(text);
    return std::ranges::any_of(std::array{"=@Variant(", ",@Variant(", "=@DateTime(", ",@DateTime("},
                               [&](const char* begin) { return plain.find(begin) != std::string::npos; });
}

bool isSoundLine(std::string_view line) {
    const auto first = line.find_first_not_of(" \t\r");
    if (first == std::string_view::npos || line[first] == ';')
        return true;
    bool quoted = false;
    for (std::size_t i = first; i < line.size(); ++i) {
        if (line[i] == '\\')
            ++i;
        else if (line[i] == '"')
            quoted = !quoted;
    }
    const char needed = line[first] == '[' ? ']' : '=';
    return !quoted && line.find(needed) != std::string_view::npos;
}

// Qt says whether a file is sound only when it first sees it, and silently cuts values short at what is no
// text.
bool isSound(std::string_view text) {
    if (!QUtf8StringView(text.data(), static_cast<qsizetype>(text.size())).isValidUtf8() ||
        text.find('\0') != std::string_view::npos || makesObjects(text))
        return false;
    bool continued = false;
    while (!text.empty()) {
        const auto line = text.substr(0, text.find('\n'));
        if (!continued && !isSoundLine(line))
            return false;
        continued = line.ends_with('\\');
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return true;
}

// Qt takes over the lock of a process that is gone, but waits half a minute for one that does not say whose
// it is: a crash between two calls of Qt's leaves it empty.
void removeEmptyLock(const std::string& file) {
    const std::string lock = file + ".lock";
    std::error_code gone;
    if (std::filesystem::file_size(lock, gone) == 0 && !gone)
        std::filesystem::remove(lock, gone);
}

// Qt waits without end for the lock of a program that lives, though it may stand still. Another may yet take
// the lock between this look and Qt's turn; it would have to stop within those microseconds.
bool lockIsHeld(const std::string& file) {
    QLockFile lock(QString::fromStdString(file + ".lock"));
    return !lock.tryLock(static_cast<int>(kLockPatience.count())) &&
           lock.error() == QLockFile::LockFailedError;
}

} // namespace

XdgDefaults::XdgDefaults(std::string file) : file_(std::move(file)) {
    const Condition found = condition();
    if (found == Condition::unreadable)
        logLine("Settings: %s cannot be read; the defaults hold", file_.c_str());
    if (found == Condition::damaged) {
        const bool moved = moveAside();
        logLine("Settings: %s is damaged; the defaults hold%s%s", file_.c_str(),
                moved ? ", and it is kept as " : "", moved ? asideName().c_str() : "");
    }
    if (found != Condition::sound)
        return;
    const QSettings settings(QString::fromStdString(file_), QSettings::IniFormat);
    for (const QString& key : settings.allKeys())
        set_.insert_or_assign(key.toStdString(), decode(textOf(settings.value(key))));
}

XdgDefaults::Condition XdgDefaults::condition() const {
    const auto text = readPlainFile(file_, kLargest + 1);
    if (!text)
        return errno == ENOENT ? Condition::absent : Condition::unreadable;
    return text->size() <= kLargest && isSound(*text) ? Condition::sound : Condition::damaged;
}

bool XdgDefaults::moveAside() const {
    return std::rename(file_.c_str(), asideName().c_str()) == 0;
}

void XdgDefaults::registerDefaults(std::map<std::string, DefaultsValue, std::less<>> defaults) {
    registered_ = std::move(defaults);
    for (const auto& [key, value] : set_)
        if (const auto registered = registered_.find(key);
            registered != registered_.end() && !asTypeOf(registered->second, value))
            logLine("Settings: %s: \"%s\" is \"%s\", not %s; the default holds", file_.c_str(), key.c_str(),
                    encode(value).c_str(), kindOf(registered->second));
}

std::optional<DefaultsValue> XdgDefaults::objectForKey(std::string_view key) const {
    const auto set = set_.find(key);
    const auto registered = registered_.find(key);
    if (registered == registered_.end())
        return set == set_.end() ? std::nullopt : std::optional(set->second);
    if (set == set_.end())
        return registered->second;
    return asTypeOf(registered->second, set->second).value_or(registered->second);
}

// Each write begins with a fresh look at the file, so what somebody has edited meanwhile stays. What has been
// damaged meanwhile is written anew from what is known.
bool XdgDefaults::write(const std::string& key) const {
    const Condition before = condition();
    const bool anew = before == Condition::damaged && moveAside();
    if (anew)
        logLine("Settings: %s has been damaged; it is kept as %s and written anew", file_.c_str(),
                asideName().c_str());
    const bool mayBe = before == Condition::absent || before == Condition::sound || anew;
    if (mayBe && !makeFolderOf(file_))
        return false;
    removeEmptyLock(file_);
    const bool held = mayBe && lockIsHeld(file_);
    if (mayBe && !held && store(key, anew))
        return true;
    logLine("Settings: \"%s\" cannot be written to %s%s", key.c_str(), file_.c_str(),
            held ? ": another program holds its lock" : "");
    return false;
}

// Qt takes turns with other processes and replaces the file whole.
bool XdgDefaults::store(const std::string& key, bool everything) const {
    QSettings settings(QString::fromStdString(file_), QSettings::IniFormat);
    for (const auto& [name, value] : set_)
        if (everything || name == key)
            settings.setValue(QString::fromStdString(name), QString::fromStdString(encode(value)));
    if (!set_.contains(key))
        settings.remove(QString::fromStdString(key));
    settings.sync();
    if (settings.status() != QSettings::NoError)
        return false;
    keepNameOf(file_);
    return true;
}

bool XdgDefaults::setObject(std::string_view key, DefaultsValue value) {
    const std::string name(key);
    set_.insert_or_assign(name, std::move(value));
    return write(name);
}

bool XdgDefaults::removeObjectForKey(std::string_view key) {
    const std::string name(key);
    set_.erase(name);
    return write(name);
}

} // namespace lightpen
