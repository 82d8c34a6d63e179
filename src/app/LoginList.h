// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/LoginItems.h"

namespace lightpen {

// What the list of the applications that start at login is to be, and what has been done to it.
struct LoginListUpdate {
    // What happened to the entry of the running application; updated also when it says the same as before.
    enum class Change { none, added, updated, removed };
    Change change = Change::none;
    std::vector<LoginItem> list;
};

// The application as it runs now.
struct RunningApplication {
    std::string path;                      // of its program
    std::optional<std::string> identifier; // none when its information dictionary does not say
};

// The identifier of the application at a path; none when there is no application.
using IdentifierAtPath = std::function<std::optional<std::string>(const std::string& path)>;

// Brings the list into line with the user's wish. The running application's own entry is the first one whose
// path names it and leads to an application of the same identifier, or which was made for that identifier and
// leads to no application any more. When it is wanted, path and identifier are brought up to date and it
// moves to the end; when it is not, it goes. All others stay as they are, in their order.
LoginListUpdate updatedLoginList(const std::optional<std::vector<LoginItem>>& current, bool wanted,
                                 const RunningApplication& running, const IdentifierAtPath& identifierAt);

} // namespace lightpen
