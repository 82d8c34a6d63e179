// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace lightpen {

// An application that starts when the user logs in.
struct LoginItem {
    std::string path;   // "Path": the application's program, or its folder
    bool hide = false;  // "Hide": whether it starts hidden
    std::string origin; // where the store keeps it; empty for one that is new
    // Of the application that it was made for, which may have left the path since; none where nobody noted
    // it.
    std::optional<std::string> identifier = {};
    friend bool operator==(const LoginItem&, const LoginItem&) = default;
};

// The list of the applications that start at login, in their order. Main thread.
class LoginItems {
public:
    virtual ~LoginItems() = default;
    // The list as it is stored; none when there is none yet.
    virtual std::optional<std::vector<LoginItem>> copyValue() const = 0;
    // Hands over the list as it should be. Nothing is stored yet.
    virtual void setValue(std::vector<LoginItem> list) = 0;
    // Stores what was handed over. Entries that have not changed keep their bytes. False (and one log line)
    // when something cannot be stored; that then stays as it was.
    virtual bool synchronize() = 0;
};

} // namespace lightpen
