// SPDX-License-Identifier: MIT
#include "linux_desktop/XdgDefaults.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <utility>

#include <QSettings>
#include <QStandardPaths>
#include <QStringList>

#include "platform/Log.h"

namespace lightpen {

namespace {

// The mark of a string that would otherwise read as something else.
constexpr char kStringMark = '\'';

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

// A comma makes Qt read several values out of what somebody has typed as one.
std::string textOf(const QVariant& value) {
    return value.toStringList().join(QLatin1String(", ")).toStdString();
}

} // namespace

XdgDefaults::XdgDefaults(std::string file) : file_(std::move(file)) {
    read();
}

std::string XdgDefaults::userFile() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation).toStdString() +
           "/LightPenNX7/settings.ini";
}

void XdgDefaults::read() {
    const QSettings settings(QString::fromStdString(file_), QSettings::IniFormat);
    if (settings.status() == QSettings::AccessError) {
        logLine("Settings: %s cannot be read; the defaults hold", file_.c_str());
        return;
    }
    if (settings.status() == QSettings::FormatError) {
        const std::string aside = file_ + ".damaged";
        const bool moved = std::rename(file_.c_str(), aside.c_str()) == 0;
        logLine("Settings: %s is damaged; the defaults hold%s%s", file_.c_str(),
                moved ? ", and it is kept as " : "", moved ? aside.c_str() : "");
        return;
    }
    for (const QString& key : settings.allKeys())
        set_.insert_or_assign(key.toStdString(), decode(textOf(settings.value(key))));
}

void XdgDefaults::registerDefaults(std::map<std::string, DefaultsValue, std::less<>> defaults) {
    registered_ = std::move(defaults);
}

std::optional<DefaultsValue> XdgDefaults::objectForKey(std::string_view key) const {
    const auto set = set_.find(key);
    const auto registered = registered_.find(key);
    if (registered == registered_.end())
        return set == set_.end() ? std::nullopt : std::optional(set->second);
    if (set == set_.end())
        return registered->second;
    if (set->second.index() == registered->second.index())
        return set->second;
    const auto* whole = std::get_if<std::int64_t>(&set->second);
    if (whole && std::holds_alternative<double>(registered->second))
        return static_cast<double>(*whole);
    return registered->second;
}

// Each write begins with a fresh look at the file, so what somebody has edited meanwhile stays.
bool XdgDefaults::write(const std::string& key, const std::optional<std::string>& text) {
    QSettings settings(QString::fromStdString(file_), QSettings::IniFormat);
    if (text)
        settings.setValue(QString::fromStdString(key), QString::fromStdString(*text));
    else
        settings.remove(QString::fromStdString(key));
    settings.sync();
    if (settings.status() == QSettings::NoError)
        return true;
    logLine("Settings: \"%s\" cannot be written to %s", key.c_str(), file_.c_str());
    return false;
}

bool XdgDefaults::setObject(std::string_view key, DefaultsValue value) {
    const std::string name(key);
    const std::string text = encode(value);
    set_.insert_or_assign(name, std::move(value));
    return write(name, text);
}

bool XdgDefaults::removeObjectForKey(std::string_view key) {
    const std::string name(key);
    set_.erase(name);
    return write(name, std::nullopt);
}

} // namespace lightpen
