// SPDX-License-Identifier: MIT
// Pointer events and the long press.
#include "device/EventGeneratorNX7.h"

#include <cmath>

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr Microseconds kLongPressDelay = std::chrono::seconds(2);

// The left button and its drags are posted at full pressure, releases and the right button at half.
constexpr std::uint8_t kFullPressure = 255;
constexpr std::uint8_t kHalfPressure = 128;

io_connect_t openConnection(mach_port_t masterPort) {
    IORegistry& registry = Platform::current().registry;
    io_iterator_t iterator = 0;
    if (registry.IOServiceGetMatchingServices(masterPort, IOServiceMatching("IOHIDSystem"), iterator) !=
        kIOReturnSuccess)
        return 0;
    io_connect_t connection = 0;
    const io_service_t service = registry.IOIteratorNext(iterator);
    if (!service || Platform::current().pointer.IOServiceOpen(service, kIOHIDParamConnectType, connection) !=
                        kIOReturnSuccess)
        connection = 0;
    if (service)
        registry.IOObjectRelease(service);
    registry.IOObjectRelease(iterator);
    return connection;
}

} // namespace

io_connect_t EventGeneratorNX7::serviceConnection() {
    SharedValue<io_connect_t>& handle = sharedState.serviceConnection;
    if (handle != 0)
        return handle;
    mach_port_t masterPort = 0;
    if (Platform::current().registry.IOMasterPort(masterPort) != kIOReturnSuccess || masterPort == 0)
        return handle;
    handle = openConnection(masterPort);
    return handle;
}

bool EventGeneratorNX7::canPost(ScreenPoint point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && serviceConnection() != 0;
}

IOReturn EventGeneratorNX7::postMouseEvent(std::uint32_t eventType, ScreenPoint point, std::int32_t click,
                                           std::uint8_t pressure) {
    if (!canPost(point))
        return kIOReturnNotOpen;
    NXMouseEventData data;
    data.eventNum = 1;
    data.click = click;
    data.pressure = pressure;
    // Beyond 16 bits a coordinate wraps; nothing is cut to the screen.
    const IOGPoint location{static_cast<std::int16_t>(truncatedTo16Bits(point.x)),
                            static_cast<std::int16_t>(truncatedTo16Bits(point.y))};
    return Platform::current().pointer.IOHIDPostEvent(serviceConnection(), eventType, location, data,
                                                      kNXEventDataVersion, 0, kIOHIDSetCursorPosition);
}

void EventGeneratorNX7::postLMouseDown(ScreenPoint point) {
    if (!canPost(point))
        return;
    logLine("Event n:2411 currentPoint(%.0f,%.0f)", point.x, point.y);
    logLine("Event n:2429 Mouse Down %d", postMouseEvent(kLeftMouseDown, point, 1, kFullPressure));
}

void EventGeneratorNX7::postLMouseUp(ScreenPoint point) {
    if (!canPost(point))
        return;
    logLine("Event n:2456 Mouse Up %d", postMouseEvent(kLeftMouseUp, point, 0, kHalfPressure));
}

void EventGeneratorNX7::postLMouseDrag(ScreenPoint point) {
    postMouseEvent(kLeftMouseDragged, point, 1, kFullPressure);
}

void EventGeneratorNX7::postRMouseDown(ScreenPoint point) {
    postMouseEvent(kRightMouseDown, point, 1, kHalfPressure);
}

void EventGeneratorNX7::postRMouseUp(ScreenPoint point) {
    postMouseEvent(kRightMouseUp, point, 0, kHalfPressure);
}

void EventGeneratorNX7::postRMouseClick(ScreenPoint point) {
    postRMouseDown(point);
    postRMouseUp(point);
}

void EventGeneratorNX7::postLMouseClick(ScreenPoint) {}

void EventGeneratorNX7::postRightMouseClickWithStringFormat(const std::string& point) {
    logLine("Event n:2546 !!!post rmouse click");
    Platform::current().runLoop.performAfterDelay({this, "wrapper", point, [this, point] { wrapper(point); }},
                                                  kLongPressDelay);
}

void EventGeneratorNX7::wrapper(const std::string& string) {
    const auto point = NSPointFromString<ScreenPoint>(string);
    postLMouseUp(point);
    postRMouseClick(point);
    _AnchorPointForLongPress = ScreenPoint{};
}

void EventGeneratorNX7::wrapper2(const std::string& string) {
    Platform::current().runLoop.cancelPreviousPerformRequests(this, "wrapper", string);
}

} // namespace lightpen
