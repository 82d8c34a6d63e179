// SPDX-License-Identifier: MIT
// What a report does: it is decoded, and feeds a calibration or becomes pointer events.
#include "device/EventGeneratorNX7.h"

#include <cmath>

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr const char* kRegionNotifications[] = {"LightPenNX7RegionLeft", "LightPenNX7RegionRight",
                                                "LightPenNX7RegionTop", "LightPenNX7RegionButtom"};

// How many points a calibration hands over until a pairing read that is under way is ended.
constexpr int kCallbacksBeforePairingEnds = 3;

Size mainScreenSize() {
    const auto frame = Platform::current().desktop.mainScreenFrame();
    return frame ? frame->size : Size{};
}

constexpr Microseconds kLongPressDelay = std::chrono::seconds(2);

// The left button and its drags are posted at full pressure, releases and the right button at half.
constexpr std::uint8_t kFullPressure = 255;
constexpr std::uint8_t kHalfPressure = 128;

[[gnu::noinline]] io_connect_t openConnection(mach_port_t masterPort) {
    const IOObject services =
        matchingServices(Platform::current().registry, masterPort, IOServiceMatching("IOHIDSystem"));
    const IOObject service = services.next();
    io_connect_t connection = 0;
    if (service && Platform::current().pointer.IOServiceOpen(service.get(), kIOHIDParamConnectType,
                                                             connection) == kIOReturnSuccess)
        return connection;
    return 0;
}

} // namespace

// From the report to what the pen does. Point thread

CameraPoint EventGeneratorNX7::pointFromHIDEvent(const IOHIDEventStruct& event) {
    sharedState.decodedReportCount = sharedState.decodedReportCount + 1;
    const PenReport report = readPenReport(event.longValue);
    if (sharedState.checkViewState == 2 && sharedState.checkViewSubState == 1)
        return {static_cast<double>(report.x), static_cast<double>(report.y)};
    if (sharedState.checkViewSubState != 0)
        return {};
    if (report.lightSpot)
        logLine("Event n:1505 ( %d, %d)", static_cast<std::int16_t>(report.x),
                static_cast<std::int16_t>(report.y));
    else
        logLine("Event n:1537 ( %d, %d)", 0, 0);
    return pointInCameraRange(report);
}

std::int32_t EventGeneratorNX7::regionFromPoint(ScreenPoint point) const {
    return regionOfPoint(point, mainScreenSize());
}

[[gnu::noinline]] void EventGeneratorNX7::feedCalibration(EventGeneratorNX7CallbackProtocol& calibration,
                                                          CameraPoint point) {
    const PenResult result = penFeeds(stroke(), point);
    perform(result);
    if (!result.touchesTarget)
        return;
    if (calibration.respondsToLightPenCallback()) {
        SharedWord& count = sharedState.delegateCallbackCount;
        count = count + 1;
        logLine("Event n:1706 callback to delegate");
        calibration.lightPenCallbackAtPoint(point, *this);
        const auto pairingQueue = _RetPairingData.load();
        if (count == kCallbacksBeforePairingEnds && sharedState.wireless == 0 && pairingQueue)
            pairingQueue->stop();
        if (count > kCallbacksBeforePairingEnds)
            count = 0;
    }
    logLine("Event n:1719 pointFromDevice: %s", point);
}

EventGeneratorNX7::AfterPass EventGeneratorNX7::drivePointer(PointThreadState& thread, CameraPoint point) {
    // Here both coordinates say "pen up", for a calibration either does; the decoder always sets both.
    if (point == kPenUpPoint) {
        perform(penLifts(stroke()));
        _isStaring = false;
        return AfterPass::sleep;
    }
    if (_isStaring) {
        // A spot while the unit is still starting is stray light, not a pen.
        _hasNoise = true;
        _isStaring = false;
        return AfterPass::goOn;
    }
    if (_hasNoise)
        return AfterPass::goOn;
    logLine("Event n:1759 mappedPoint: (%.2f,%.2f)", point.x, point.y);
    _calibrationCenter.renew(thread.mapper);
    if (!thread.mapper)
        return AfterPass::sleep; // nothing can say where on the screen this is
    const ScreenPoint mapped = thread.mapper->mapPointFrom(point);
    const PenResult result = penMoves(stroke(), mapped, mainScreenSize());
    logLine("Event n:1763 mappedPoint: %s, in Region: %d", mapped, result.region);
    perform(result);
    return AfterPass::sleep;
}

Stroke EventGeneratorNX7::stroke() const {
    return {_lightPenState, _previousPoint, _AnchorPointForLongPress, _strokePressed};
}

// The anchor is not set with the others: the long press clears it on the main thread meanwhile, and only what
// begins or ends a stroke's hold may write it.
void EventGeneratorNX7::perform(const PenResult& result) {
    _lightPenState = result.stroke.state;
    _previousPoint = result.stroke.previous;
    _strokePressed = result.stroke.pressed;
    for (const PenAction& action : result.actions)
        perform(action, result.region);
}

void EventGeneratorNX7::perform(const PenAction& action, std::int32_t region) {
    switch (action.kind) {
    case PenAction::Kind::beginLongPress:
        _AnchorPointForLongPress = action.point;
        performOnMain("postRightMouseClickWithStringFormat", NSStringFromPoint(action.point),
                      &EventGeneratorNX7::postRightMouseClickWithStringFormat);
        break;
    case PenAction::Kind::press:
        postLMouseDown(action.point);
        logLine("Event n:1789 state up to down");
        break;
    case PenAction::Kind::leaveAnchor:
        logLine("Event n:1798 cancelPreviousPerformRequestsWithTarget, anchor: %s, distance:%.0f",
                action.point, action.distance);
        performOnMain("wrapper2", NSStringFromPoint(action.point), &EventGeneratorNX7::wrapper2);
        _AnchorPointForLongPress = ScreenPoint{};
        break;
    case PenAction::Kind::stay:
        logLine("Event n:1806 state mouse drag");
        break;
    case PenAction::Kind::drag:
        postLMouseDrag(action.point);
        break;
    case PenAction::Kind::release:
        postLMouseUp(action.point);
        logLine("Event n:1737 state down to up %d", sharedState.delegateCallbackCount.load());
        break;
    case PenAction::Kind::cancelLongPress:
        // After a move has cleared the anchor this names (0, 0) and finds nothing.
        performOnMain("wrapper2", NSStringFromPoint(action.point), &EventGeneratorNX7::wrapper2);
        break;
    case PenAction::Kind::leaveScreen:
        Platform::current().distributedNotifications.postNotificationName(kRegionNotifications[region]);
        break;
    case PenAction::Kind::fail:
        logLine("Event n:1812 state error");
        break;
    }
}

// What belongs to the main thread is asked for there, and not waited for.
[[gnu::noinline]] void EventGeneratorNX7::performOnMain(const char* selector, std::string argument,
                                                        StringOperation operation) {
    auto perform = [this, argument, operation] { (this->*operation)(argument); };
    Platform::current().runLoop.performOnMainThread(
        {this, selector, std::move(argument), std::move(perform)});
}

// Pointer events

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

namespace {

bool canPost(ScreenPoint point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && EventGeneratorNX7::serviceConnection() != 0;
}

IOReturn postMouseEvent(std::uint32_t eventType, ScreenPoint point, std::int32_t click,
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
    return Platform::current().pointer.IOHIDPostEvent(EventGeneratorNX7::serviceConnection(), eventType,
                                                      location, data, kNXEventDataVersion, 0,
                                                      kIOHIDSetCursorPosition);
}

} // namespace

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
