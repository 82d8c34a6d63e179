// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/LoginItems.h"

namespace lightpen {

// The new list of the applications that start at login, and how it differs from the old one.
struct LoginListUpdate {
    // What happened to the entry of the running application. An entry that stays the same counts as updated.
    enum class Change { none, added, updated, removed };
    Change change = Change::none;
    std::vector<LoginItem> list;
};

// The application as it runs now.
struct RunningApplication {
    std::string path;                      // of its program
    std::optional<std::string> identifier; // of its information dictionary, if that has one
};

// The identifier of the application at a path; empty without an application there.
using IdentifierAtPath = std::function<std::optional<std::string>(const std::string& path)>;

// Brings the list into line with the user's wish. The running application's own entry is the first one whose
// path holds the application's name and leads to an application of the same identifier. An entry that was
// made for that identifier counts too if its path leads nowhere any more. A wanted entry gets the present
// path and identifier and moves to the end; an unwanted one is removed. All others stay, in their order.
LoginListUpdate updatedLoginList(const std::optional<std::vector<LoginItem>>& current, bool wanted,
                                 const RunningApplication& running, const IdentifierAtPath& identifierAt);

} // namespace lightpen
