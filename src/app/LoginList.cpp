// SPDX-License-Identifier: MIT
#include "app/LoginList.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace lightpen {

namespace {

constexpr std::string_view kNameInPath = "LightPenNX7";

// The place of storage does not count: an entry that is stored twice is removed twice.
bool sayTheSame(const LoginItem& one, const LoginItem& other) {
    return one.path == other.path && one.hide == other.hide && one.identifier == other.identifier;
}

// The running application's own entry. An application that has been moved is not at the path any more; the
// entry remembers whose it was.
std::optional<LoginItem> ownEntry(const std::vector<LoginItem>& list, const Bundle& running,
                                  const std::optional<std::string>& identifier) {
    const auto own = std::find_if(list.begin(), list.end(), [&](const LoginItem& item) {
        if (!identifier || item.path.find(kNameInPath) == std::string::npos)
            return false;
        const auto present = running.bundleIdentifierAtPath(item.path);
        return (present ? present : item.identifier) == identifier;
    });
    return own == list.end() ? std::nullopt : std::optional(*own);
}

} // namespace

LoginListUpdate updatedLoginList(const std::optional<std::vector<LoginItem>>& current, bool wanted,
                                 const Bundle& running) {
    using Change = LoginListUpdate::Change;
    LoginListUpdate update{Change::none, current.value_or(std::vector<LoginItem>())};
    const auto identifier = running.bundleIdentifier();
    auto own = ownEntry(update.list, running, identifier);
    if (own)
        std::erase_if(update.list, [&](const LoginItem& item) { return sayTheSame(item, *own); });
    if (wanted) {
        update.change = own ? Change::updated : Change::added;
        LoginItem entry = own ? std::move(*own) : LoginItem();
        entry.path = running.executablePath();
        entry.identifier = identifier;
        update.list.push_back(std::move(entry));
    } else if (own) {
        update.change = Change::removed;
    }
    return update;
}

} // namespace lightpen
