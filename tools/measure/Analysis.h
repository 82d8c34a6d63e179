// SPDX-License-Identifier: MIT
// Compares what the hand did and the driver injected with what the canvas saw. Pure.
#pragma once

#include <cmath>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "measure/CanvasEvent.h"
#include "measure/Recording.h"
#include "platform/Geometry.h"
#include "platform/Time.h"

namespace lightpen {

// In the unit of the points' space.
template <class Space>
double distance(Point<Space> one, Point<Space> other) {
    return std::hypot(one.x - other.x, one.y - other.y);
}

// The text that printf makes of it; the part beyond 199 bytes is left out.
__attribute__((format(printf, 1, 2))) std::string formatted(const char* format, ...);

// How measured values are spread; each figure but the mean is one of the values (nearest rank). All 0 without
// values.
struct Spread {
    std::size_t count = 0;
    double mean = 0;
    double median = 0;
    double percentile95 = 0;
    double percentile99 = 0;
    double worst = 0;
};
// The values in any order.
Spread spreadOf(std::vector<double> values);

// What a performance leaves behind, from the hand to the canvas.
struct DemoRecord {
    Size screen;
    std::vector<HandTouch> touches; // in order of time
    std::vector<InjectedEvent> injected;
    std::vector<std::string> posted; // notifications, by name
    std::vector<CanvasEvent> seen;
};

// Whether a touch is on the screen: those beside it press nothing.
bool onScreen(const HandTouch& touch, Size screen);
// How many of them are: so many presses are expected.
std::size_t touchesOnScreen(const DemoRecord& record);

// How far, in points, the pointer landed from the hand: where each touch on the screen began and was
// pressed, and where it ended and was released. A touch that pressed or released nothing adds nothing; nor
// does one that did not rest: a pen that moves while it is set down has gone on by the time the camera and
// the poll see it. Where it rested, the distance is the mapping's alone.
std::vector<double> landingDistances(const DemoRecord& record);

// Milliseconds from the moment when the point thread took a report to the moment when the canvas was handed
// its event. Moves that the window system merged, and events of a timer, add nothing.
std::vector<double> pointerDelays(const std::vector<InjectedEvent>& injected,
                                  const std::vector<CanvasEvent>& seen);

// How many events are of this kind, and how often the canvas heard of the notification.
std::size_t countOf(const std::vector<InjectedEvent>& events, InjectedEvent::Kind kind);
std::size_t countOf(const std::vector<CanvasEvent>& events, CanvasEvent::Kind kind);
std::size_t heard(const std::vector<CanvasEvent>& events, std::string_view notification);

// One sentence for each thing that was lost between the hand and the canvas; empty when all has come.
// Notifications are the ones that must have been heard at least once.
std::vector<std::string> losses(const DemoRecord& record, std::span<const std::string_view> notifications);

} // namespace lightpen
