// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace lightpen {

// Something the user should know now, and what can be done about it.
struct UserNotice {
    struct Action {
        std::string label;
        std::function<void()> chosen; // called on the main thread, at most once
    };
    std::string title = {};
    std::string text = {}; // plain; what looks like markup is shown as it is
    std::vector<Action> actions = {};
    // Nothing is lost where nobody sees it: the desktop takes it away after a while.
    bool goesByItself = false;
};

// The desktop's notices beside what the user is doing. Main thread.
class UserNotices {
public:
    virtual ~UserNotices() = default;
    // Shows it without waiting. A desktop without notices gets a log line with the title and the text; one
    // that shows no actions shows the rest.
    virtual void show(UserNotice notice) = 0;
};

} // namespace lightpen
