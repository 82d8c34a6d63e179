// SPDX-License-Identifier: MIT
#include "measure/Table.h"

namespace lightpen {

namespace {

using Injected = InjectedEvent::Kind;
using Seen = CanvasEvent::Kind;

std::string row(const char* name, const std::string& value) {
    return formatted("  %-38s ", name) + value + "\n";
}

// "12 injected, 12 received".
std::string bothSides(const DemoRecord& record, Injected injected, Seen seen) {
    return formatted("%zu injected, %zu received", countOf(record.injected, injected),
                     countOf(record.seen, seen));
}

} // namespace

std::string tableOf(const DemoRecord& record) {
    const Spread landing = spreadOf(landingDistances(record));
    const Spread delay = spreadOf(pointerDelays(record.injected, record.seen));
    return row("touches of the hand", formatted("%zu, of these %zu beside the screen", record.touches.size(),
                                                record.touches.size() - touchesOnScreen(record))) +
           row("presses", bothSides(record, Injected::press, Seen::press)) +
           row("releases", bothSides(record, Injected::release, Seen::release)) +
           row("right clicks", bothSides(record, Injected::rightRelease, Seen::rightRelease)) +
           row("moves (bursts are merged)", bothSides(record, Injected::move, Seen::move)) +
           row("notifications", formatted("%zu posted, %zu heard on the bus", record.posted.size(),
                                          countOf(record.seen, Seen::notification))) +
           row("from the resting hand to the pointer",
               formatted("median %.2f, worst %.2f pixels", landing.median, landing.worst)) +
           row("from the poll to the canvas",
               formatted("median %.2f, 99th percentile %.2f ms", delay.median, delay.percentile99)) +
           "  (The poll is when the driver takes a report: waiting for it, up to 16.8 ms, is by design and "
           "not "
           "counted.)\n";
}

} // namespace lightpen
