// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "platform/Bundle.h"
#include "platform/LoginItems.h"

namespace lightpen {

// The new list of the applications that start at login, and how it differs from the old one.
struct LoginListUpdate {
    // What happened to the entry of the running application. An entry that stays the same counts as updated.
    enum class Change { none, added, updated, removed };
    Change change = Change::none;
    std::vector<LoginItem> list;
};

// Brings the list into line with the user's wish; the bundle is the running application's. The running
// application's own entry is the first one whose path holds the application's name and leads to an
// application of the same identifier. An entry that was made for that identifier counts too if its path leads
// nowhere any more. A wanted entry gets the present path and identifier and moves to the end; an unwanted one
// is removed. All others stay, in their order.
LoginListUpdate updatedLoginList(const std::optional<std::vector<LoginItem>>& current, bool wanted,
                                 const Bundle& running);

} // namespace lightpen
