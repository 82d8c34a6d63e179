// SPDX-License-Identifier: MIT
// What the canvas tells the demo: one line of text for each event that the window system or the message bus
// delivered to it.
#pragma once

#include <optional>
#include <string>

#include "platform/Geometry.h"
#include "platform/Time.h"

namespace lightpen {

// What the canvas tells of itself, a line each, to the program that has started it.
struct CanvasEvent {
    // Presses, moves and releases are the left button's unless they say otherwise.
    enum class Kind {
        ready, // on the screen and listening; the position is the size of the canvas
        press,
        move, // with the left button down
        release,
        rightPress,
        rightRelease,
        contextMenu,  // the context menu was asked for
        notification, // the text is its name
        saved,        // the text is the picture's file
        failed        // the text says what
    };
    Kind kind = Kind::ready;
    Microseconds time{}; // of the machine's monotonic clock, when the canvas was handed the event
    ScreenPoint position;
    std::string text;
    friend bool operator==(const CanvasEvent&, const CanvasEvent&) = default;
};

// "TIME KIND X Y" or "TIME KIND X Y TEXT", without a line break; positions as whole points.
std::string lineFromCanvasEvent(const CanvasEvent& event);
// None for anything that is not such a line.
std::optional<CanvasEvent> canvasEventFromLine(const std::string& line);

} // namespace lightpen
