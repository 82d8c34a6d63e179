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

    // Waits until each of these screens is covered; false when that takes too long.
    bool covers(const std::vector<std::string>& screens);
    // The size that Qt says this screen has, in points; after covers.
    Size sizeOf(const std::string& screen) const { return screens_.at(screen).screen; }
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
    std::map<std::string, Covered> screens_;
    std::vector<Press> presses_;
};

} // namespace lightpen
