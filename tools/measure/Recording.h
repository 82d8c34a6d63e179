// SPDX-License-Identifier: MIT
// What the demo knows of its own side: what the hand did, what the driver posted. The canvas tells the rest.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "platform/Time.h"

namespace lightpen {

// One contact of the hand with the screen, or beside it.
struct HandTouch {
    Microseconds start{};
    Microseconds end{};
    ScreenPoint first;
    // Where the pen was lifted; none when the unit was unplugged before that.
    std::optional<ScreenPoint> last;
    bool longPress = false; // held still for long enough to become a right click
};

// One pointer event that the driver handed to the window system.
struct InjectedEvent {
    // Press and release are the left button's; a drag is a move.
    enum class Kind { move, press, release, rightPress, rightRelease };
    Kind kind = Kind::move;
    // When the point thread had taken the report that this event comes from (or had found that there was
    // none); nothing for events of a timer.
    std::optional<Microseconds> taken;
    ScreenPoint position; // whole points
};

// What the driver gave out. Thread-safe; filled by the point thread and the main thread.
class Recording {
public:
    // The calling thread has just looked for a report: what it injects from now on comes from that.
    void reportTaken(Microseconds time);
    // Each appends to its list.
    void injected(InjectedEvent::Kind kind, ScreenPoint position);
    void posted(std::string notification);

    // Copies of all so far, in order.
    std::vector<InjectedEvent> injectedEvents() const;
    std::vector<std::string> postedNotifications() const;

private:
    mutable std::mutex mutex_;
    std::vector<InjectedEvent> injected_;
    std::vector<std::string> posted_;
};

} // namespace lightpen
