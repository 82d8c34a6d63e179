// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace lightpen {

using DefaultsValue = std::variant<bool, std::int64_t, double, std::string>;

// The user's settings over registered defaults. Main thread.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;
    // What objectForKey answers for keys that the user has not set.
    virtual void registerDefaults(std::map<std::string, DefaultsValue, std::less<>> defaults) = 0;
    // The user's value, else the registered one; none when there is neither.
    virtual std::optional<DefaultsValue> objectForKey(std::string_view key) const = 0;
    // Stores the value at once, so that a crash at any later moment keeps it. False (and a log line) when it
    // cannot be written; the value then holds until the program ends.
    virtual bool setObject(std::string_view key, DefaultsValue value) = 0;
    // Takes the user's value away, in the same way; the registered one holds again.
    virtual bool removeObjectForKey(std::string_view key) = 0;
};

// The text under the key; empty where there is none, or something else.
inline std::string textForKey(const UserDefaults& defaults, std::string_view key) {
    const auto value = defaults.objectForKey(key);
    const auto* text = value ? std::get_if<std::string>(&*value) : nullptr;
    return text ? *text : std::string();
}

} // namespace lightpen
