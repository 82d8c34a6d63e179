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

// An application that has been moved is not at the path any more; the entry remembers whose it was.
bool isOwn(const LoginItem& item, const RunningApplication& running, const IdentifierAtPath& identifierAt) {
    if (!running.identifier || item.path.find(kNameInPath) == std::string::npos)
        return false;
    const auto present = identifierAt(item.path);
    return (present ? present : item.identifier) == running.identifier;
}

std::optional<LoginItem> ownEntry(const std::vector<LoginItem>& list, const RunningApplication& running,
                                  const IdentifierAtPath& identifierAt) {
    const auto own = std::find_if(list.begin(), list.end(),
                                  [&](const LoginItem& item) { return isOwn(item, running, identifierAt); });
    return own == list.end() ? std::nullopt : std::optional(*own);
}

} // namespace

LoginListUpdate updatedLoginList(const std::optional<std::vector<LoginItem>>& current, bool wanted,
                                 const RunningApplication& running, const IdentifierAtPath& identifierAt) {
    using Change = LoginListUpdate::Change;
    LoginListUpdate update;
    if (current)
        update.list = *current;
    auto own = ownEntry(update.list, running, identifierAt);
    if (own)
        std::erase_if(update.list, [&](const LoginItem& item) { return sayTheSame(item, *own); });
    if (wanted) {
        update.change = own ? Change::updated : Change::added;
        LoginItem entry = own ? std::move(*own) : LoginItem();
        entry.path = running.path;
        entry.identifier = running.identifier;
        update.list.push_back(std::move(entry));
    } else if (own) {
        update.change = Change::removed;
    }
    return update;
}

} // namespace lightpen
