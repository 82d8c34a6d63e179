// SPDX-License-Identifier: MIT
#include "measure/Table.h"

#include <cstdio>

namespace lightpen {

namespace {

using Injected = InjectedEvent::Kind;
using Seen = CanvasEvent::Kind;

std::string row(const char* name, const std::string& value) {
    char text[160];
    std::snprintf(text, sizeof text, "  %-38s %s\n", name, value.c_str());
    return text;
}

// "12 injected, 12 received".
std::string bothSides(const DemoRecord& record, Injected injected, Seen seen) {
    return std::to_string(countOf(record.injected, injected)) + " injected, " +
           std::to_string(countOf(record.seen, seen)) + " received";
}

// With two digits behind the point.
std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

} // namespace

std::string tableOf(const DemoRecord& record) {
    const Spread distance = spreadOf(landingDistances(record));
    const Spread delay = spreadOf(pointerDelays(record.injected, record.seen));
    return row("touches of the hand", std::to_string(record.touches.size())) +
           row("presses", bothSides(record, Injected::press, Seen::press)) +
           row("releases", bothSides(record, Injected::release, Seen::release)) +
           row("right clicks", bothSides(record, Injected::rightRelease, Seen::rightRelease)) +
           row("moves (bursts are merged)", bothSides(record, Injected::move, Seen::move)) +
           row("notifications", std::to_string(record.posted.size()) + " posted, " +
                                    std::to_string(countOf(record.seen, Seen::notification)) +
                                    " heard on the bus") +
           row("from the resting hand to the pointer",
               "median " + number(distance.median) + ", worst " + number(distance.worst) + " pixels") +
           row("from the poll to the canvas",
               "median " + number(delay.median) + ", 99th percentile " + number(delay.percentile99) + " ms") +
           "  (The poll is when the driver takes a report: waiting for it, up to 16.8 ms, is by design and "
           "not "
           "counted.)\n";
}

} // namespace lightpen
