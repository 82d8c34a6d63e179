// SPDX-License-Identifier: MIT
// What a decoded point does: it feeds a calibration, or becomes pointer output. Point thread.
#include "device/EventGeneratorNX7.h"

#include <cmath>

#include "device/PenStateMachine.h"
#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr const char* kRegionNotifications[] = {"LightPenNX7RegionLeft", "LightPenNX7RegionRight",
                                                "LightPenNX7RegionTop", "LightPenNX7RegionButtom"};

// How many points a calibration hands over until a pairing read that is under way is ended.
constexpr int kCallbacksBeforePairingEnds = 3;

} // namespace

std::int32_t EventGeneratorNX7::regionFromPoint(ScreenPoint point) const {
    const auto frame = Platform::current().desktop.mainScreenFrame();
    return regionOfPoint(point, frame ? frame->size : Size{});
}

// One point is handed over for each touch, however long it lasts.
void EventGeneratorNX7::feedCalibration(EventGeneratorNX7CallbackProtocol& calibration, CameraPoint point) {
    if (_strokePressed) {
        // The calibration began in the middle of a stroke: its button goes up, and the stroke is not a touch
        // of a target.
        releaseStroke();
        _lightPenState = kPenDown;
    }
    if (point.x == -1 || point.y == -1) {
        _lightPenState = kPenUp;
        _previousPoint = {};
        return;
    }
    if (_lightPenState != kPenUp)
        return;
    _lightPenState = kPenDown;
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
    logLine("Event n:1719 pointFromDevice: %s", PointText(point).c_str());
}

EventGeneratorNX7::AfterPass EventGeneratorNX7::drivePointer(CameraPoint point) {
    // Here both coordinates say "pen up", for a calibration either does; the decoder always sets both.
    if (point == kPenUpPoint) {
        if (_lightPenState != kPenUp)
            releaseStroke();
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
    usePointOnScreen(point);
    return AfterPass::sleep;
}

void EventGeneratorNX7::usePointOnScreen(CameraPoint point) {
    logLine("Event n:1759 mappedPoint: (%.2f,%.2f)", point.x, point.y);
    const auto center = calibrationCenter();
    if (!center)
        return; // nothing can say where on the screen this is
    const ScreenPoint mapped = center->mapPointFrom(point);
    const std::int32_t region = regionFromPoint(mapped);
    logLine("Event n:1763 mappedPoint: %s, in Region: %d", PointText(mapped).c_str(), region);
    if (region == kRegionInside)
        runPenStateMachine(mapped);
    else
        Platform::current().distributedNotifications.postNotificationName(kRegionNotifications[region]);
}

void EventGeneratorNX7::runPenStateMachine(ScreenPoint point) {
    // A degenerate mapping yields points that are nowhere; the stroke stays where a button event was last
    // posted, so that its release has a place.
    if (std::isnan(point.x) || std::isnan(point.y))
        return;
    const ScreenPoint anchor = _AnchorPointForLongPress;
    const PenStep step = penStep(_lightPenState, anchor, point);
    switch (step.kind) {
    case PenStep::Kind::press:
        _AnchorPointForLongPress = point;
        performOnMain("postRightMouseClickWithStringFormat", NSStringFromPoint(point),
                      [this](const std::string& where) { postRightMouseClickWithStringFormat(where); });
        _previousPoint = point;
        postLMouseDown(point);
        _strokePressed = true;
        logLine("Event n:1789 state up to down");
        _lightPenState = kPenDown;
        return;
    case PenStep::Kind::leaveAnchor:
        logLine("Event n:1798 cancelPreviousPerformRequestsWithTarget, anchor: %s, distance:%.0f",
                PointText(anchor).c_str(), step.distance);
        cancelLongPress(anchor);
        _AnchorPointForLongPress = ScreenPoint{};
        break;
    case PenStep::Kind::drag:
        logLine("Event n:1806 state mouse drag");
        break;
    case PenStep::Kind::error:
        logLine("Event n:1812 state error");
        return;
    }
    postLMouseDrag(point);
    _previousPoint = point;
    _lightPenState = kPenDrag;
}

// Pen up: the button goes up where it was last seen, and no right click follows. After a move has cleared the
// anchor the cancellation names (0, 0) and finds nothing.
void EventGeneratorNX7::releaseStroke() {
    postLMouseUp(_previousPoint);
    logLine("Event n:1737 state down to up %d", sharedState.delegateCallbackCount.load());
    cancelLongPress(_AnchorPointForLongPress);
    _lightPenState = kPenUp;
    _previousPoint = {};
    _strokePressed = false;
}

void EventGeneratorNX7::cancelLongPress(ScreenPoint anchor) {
    performOnMain("wrapper2", NSStringFromPoint(anchor),
                  [this](const std::string& where) { wrapper2(where); });
}

} // namespace lightpen
