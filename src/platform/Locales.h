// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lightpen {

// Posted to the local notifications, on the main thread, when the languages that preferredLanguages() answers
// have changed.
inline constexpr std::string_view kCurrentLocaleDidChange = "kCFLocaleCurrentDidChangeNotification";

// What the system knows of the user's language. Main thread.
class Locales {
public:
    virtual ~Locales() = default;
    // The user's languages, the preferred one first: a bare language ("es" for es_MX), Chinese by its script
    // ("zh-Hant", "zh-Hans"). Never empty; "en" where nothing is set.
    virtual std::vector<std::string> preferredLanguages() const = 0;
};

} // namespace lightpen
