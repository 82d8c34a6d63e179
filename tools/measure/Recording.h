// SPDX-License-Identifier: MIT
// What is known of the driver's own side: what the hand did, where the driver took the pen to be, what it
// posted. The canvas tells the rest.
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

// A stroke of the pen, as far as it has come.
struct NotedStroke {
    CameraPoint reported; // the last point that the unit reported
    ScreenPoint mapped;   // and where on the screen that is, to all digits
    bool lifted = false;  // the pen has been lifted, and its button let go of
};

// What the driver gave out. Thread-safe; filled by the point thread and the main thread.
class Recording {
public:
    // The calling thread has just looked for a report: what it injects from now on comes from that.
    void reportTaken(Microseconds time);
    // Each appends to its list.
    void injected(InjectedEvent::Kind kind, ScreenPoint position);
    void posted(std::string notification);
    // The driver has mapped a point of the present stroke, and has lifted the pen.
    void mapped(CameraPoint reported, ScreenPoint place);
    void lifted();
    // Forgets the stroke that was; the next one starts.
    void clearStroke();

    // Copies of all so far, in order.
    std::vector<InjectedEvent> injectedEvents() const;
    std::vector<std::string> postedNotifications() const;
    // None before a point has been mapped.
    std::optional<NotedStroke> stroke() const;

private:
    mutable std::mutex mutex_;
    std::vector<InjectedEvent> injected_;
    std::vector<std::string> posted_;
    std::optional<NotedStroke> stroke_;
};

} // namespace lightpen
