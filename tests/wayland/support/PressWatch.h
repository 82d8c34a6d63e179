// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

#include "kit/ChildProcess.h"
#include "kit/Pipe.h"
#include "platform/Geometry.h"
#include "wayland/support/LoginSession.h"

namespace lightpen {

// A program in use on every screen of a session, which says where it was pressed. Main thread.
class PressWatch {
public:
    // A press on a screen: its place in points as Qt counts them for that screen.
    struct Press {
        std::string screen;
        ScreenPoint place;
    };

    explicit PressWatch(const LoginSession& session);

    // Waits until screens of these names and sizes in points, and no others, are covered; false when that
    // takes too long.
    bool covers(const std::map<std::string, Size>& screens);
    // The size of the window on this screen, in its own points; after covers.
    Size windowOn(const std::string& screen) const { return screens_.at(screen).window; }
    // What the program has said, for a failing test's message.
    const std::string& said() const { return said_; }
    // All presses so far.
    const std::vector<Press>& presses();

private:
    struct Covered {
        Size window;
        Size screen;
    };
    void take(const std::string& line);

    Pipe output_;
    ChildProcess program_;
    std::string rest_;
    std::string said_;
    std::map<std::string, Covered> screens_;
    std::vector<Press> presses_;
};

} // namespace lightpen
