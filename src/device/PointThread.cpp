// SPDX-License-Identifier: MIT
// The point thread: takes the newest report about sixty times a second and decides where it goes.
#include "device/EventGeneratorNX7.h"

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

using std::chrono::seconds;

using DeviceOperation = EventGeneratorNX7DeviceCallbackProtocol::Operation;

constexpr Microseconds kPassPeriod{16'800};
constexpr int kPassesBeforeArming = 6;
constexpr std::uint32_t kPointsQueueDepth = 1; // the thread only ever sees the newest report
// The private poll result that means: stop waiting to arm.
constexpr IOReturn kStopWaiting = ioReturn(0xFFEF0BBA);
// Where the check view draws a spot that is not there.
constexpr CameraPoint kNoCheckViewPoint{-100, -100};

SharedState& state = sharedState;

} // namespace

// Start and end

void EventGeneratorNX7::receivingPointsQueueThreadEntry(const void*) {
    PointThreadState thread = beginPointThread();
    if (threadEnds(thread))
        return;
    while (pointThreadPass(thread)) {
    }
}

PointThreadState EventGeneratorNX7::beginPointThread() {
    PointThreadState thread;
    thread.generation = _threadGeneration;
    writePenUpReport(thread.event.longValue, 0);
    Platform::current().threads.setThreadPriority(1.0);
    _lightPenState = kPenUp;
    _strokePressed = false;
    IOHIDQueueRef queue = _pointsQueue;
    if (queue) {
        logLine("Event n:1565 alloc points queue failed");
    } else if (const auto device = _pphidDeviceInterface.load()) {
        queue = device->allocQueue();
        _pointsQueue = queue;
    }
    thread.pollResult = queue ? queue->create(0, kPointsQueueDepth) : kIOReturnNoDevice;
    thread.cookie = inputReportElementCookieFromReportID(0);
    if (queue && !queue->hasElement(thread.cookie))
        thread.pollResult = queue->addElement(thread.cookie, 0);
    logLine("Event n:1572 result:%d", thread.pollResult);
    if (queue)
        queue->start();
    _isStaring = false;
    return thread;
}

bool EventGeneratorNX7::threadEnds(const PointThreadState& thread) {
    const bool replaced = thread.generation != _threadGeneration;
    if (!_stopThread && !replaced && !Platform::current().runLoop.terminating())
        return false;
    // A stroke that is under way would otherwise hold the button for ever.
    if (_strokePressed)
        perform(penLifts(stroke()));
    logLine("Event n:1829 456");
    state.delegateCallbackCount = 0;
    return true;
}

bool EventGeneratorNX7::pointThreadPass(PointThreadState& thread) {
    if (pairingExitRequested()) {
        performPairingExit();
        return false;
    }
    handleKeys();
    poll(thread);
    const auto armed = arm(thread);
    const AfterPass after = armed ? *armed : processPoll(thread);
    if (after == AfterPass::sleep)
        Platform::current().clock.sleep(kPassPeriod);
    return !threadEnds(thread);
}

// Keys of the pairing key window

bool EventGeneratorNX7::pairingExitRequested() const {
    return state.keyZPressed + state.keyDeletePressed == 2 && state.wireless == 0 &&
           state.checkViewState == 0;
}

void EventGeneratorNX7::performPairingExit() {
    state.checkViewState = 1;
    const auto delegate = deviceDelegate();
    if (delegate && delegate->respondsTo(DeviceOperation::deviceDidRemoveCallback))
        delegate->deviceDidRemoveCallback(*this);
    Nx9inPairing();
    logLine("Event n:1601 keyCode : (%d , %d)", state.keyZPressed.load(), state.keyDeletePressed.load());
    if (const auto queue = _PairingData.load()) {
        queue->stop();
        queue->dispose();
    }
    _PairingData = nullptr;
    logLine("Event n:1715 keyCode : (%d , %d) exit", state.keyDeletePressed.load(), state.keyCPressed.load());
    state.keyZPressed = 0;
    state.keyDeletePressed = 0;
    state.checkViewState = 0;
    Platform::current().runLoop.exitProcess(0);
}

void EventGeneratorNX7::handleKeys() {
    if (state.keyCPressed + state.keyDeletePressed == 2 && state.wireless > 0 && state.checkViewState == 0) {
        state.checkViewState = 1;
        logLine("Event n:1725 keyCode : (%d , %d)", state.keyDeletePressed.load(), state.keyCPressed.load());
        state.keyCPressed = 0;
        state.keyDeletePressed = 0;
    }
    if (state.keyEscapePressed == 1 && state.checkViewState == 2 && state.checkViewSubState == 1) {
        logLine("Event n:1742 keyCode : (%d , %d)", state.keyDeletePressed.load(), state.keyCPressed.load());
        state.keyEscapePressed = 0;
        Platform::current().clock.sleep(seconds(2));
    }
    if (state.checkViewState == 2 && state.checkViewSubState == 0)
        logLine("Event n:1767 keyCode : (%d , %d)", state.keyDeletePressed.load(), state.keyCPressed.load());
}

// Polling

// Pixels of a picture and pairing records come the same way as points, and are no touches: they are taken,
// and the poll counts as empty.
IOReturn EventGeneratorNX7::nextPointEvent(PointThreadState& thread) {
    const auto queue = _pointsQueue.load();
    if (!queue)
        return kIOReturnUnderrun;
    if (!_imageProcessMode && !_RetPairingData.load())
        return queue->getNextEvent(thread.event, 0, 0);
    IOHIDEventStruct noTouch;
    const IOReturn result = queue->getNextEvent(noTouch, 0, 0);
    return result == kIOReturnSuccess ? kIOReturnUnderrun : result;
}

void EventGeneratorNX7::poll(PointThreadState& thread) {
    if (state.unitOpen != 1 || state.deviceDelegateQueried != 1 || state.strayLightLevel != 0)
        return;
    thread.pollResult = nextPointEvent(thread);
    if (thread.pollResult == kIOReturnSuccess || _lightPenState == kPenUp)
        return;
    // The unit fell silent with the pen down: a made-up pen-up releases the button.
    const int length = state.reportCopyLength;
    thread.event.type = 1;
    thread.event.elementCookie = thread.cookie;
    thread.event.value = 0;
    writePenUpReport(thread.event.longValue, static_cast<std::size_t>(length));
    thread.event.longValueSize = static_cast<std::uint32_t>(length);
    thread.pollResult = kIOReturnSuccess;
}

// Waiting to arm: reports are thrown away until the first empty poll after six passes of waiting or, with
// stray light, after six passes whatever comes. A value means that this was all the pass had to do.
std::optional<EventGeneratorNX7::AfterPass> EventGeneratorNX7::arm(PointThreadState& thread) {
    if (state.unitOpen != 1 || (state.mouseArmed != 0 && state.disarmedPollCount != 1))
        return std::nullopt;
    if (state.strayLightLevel > 0 && state.disarmedPollCount >= kPassesBeforeArming)
        thread.pollResult = kStopWaiting;
    if (thread.pollResult == kIOReturnSuccess) {
        // Counted before the sleep, so that the deviceDelegate getter sees a pass that is under way.
        state.disarmedPollCount = state.disarmedPollCount + 1;
        return AfterPass::sleep;
    }
    if (state.disarmedPollCount >= kPassesBeforeArming) {
        state.mouseArmed = 1;
        state.disarmedPollCount = 0;
        if (const auto queue = _queue.load())
            setImageReceiver(*queue);
        logLine("Event n:1790 ");
        if (state.strayLightLevel > 0)
            state.strayLightViewShown = 1;
    }
    return std::nullopt;
}

EventGeneratorNX7::AfterPass EventGeneratorNX7::processPoll(PointThreadState& thread) {
    if (thread.pollResult != kIOReturnSuccess && state.strayLightLevel == 0)
        return handlePollError(thread.pollResult);
    if (state.strayLightViewShown == 1 && state.strayLightLevel > 0)
        return showStrayLight(thread);
    if (state.unitOpen != 1 || state.strayLightViewShown != 0 || state.strayLightLevel != 0)
        return AfterPass::sleep;
    if (state.wireless == 0)
        keyWindowIgnoresMouse(true);
    const CameraPoint point = pointFromHIDEvent(thread.event);
    if (const auto calibration = delegate()) {
        feedCalibration(*calibration, point);
        return AfterPass::sleep;
    }
    return drivePointer(point);
}

EventGeneratorNX7::AfterPass EventGeneratorNX7::handlePollError(IOReturn result) {
    if (state.wireless == 0)
        keyWindowIgnoresMouse(false);
    if (result != kIOReturnUnderrun)
        logLine("Event n:1688 Queue getNextEvent unhandled error: %x\n", static_cast<unsigned>(result));
    return AfterPass::sleep;
}

EventGeneratorNX7::AfterPass EventGeneratorNX7::showStrayLight(PointThreadState& thread) {
    thread.pollResult = nextPointEvent(thread);
    keyWindowIgnoresMouse(true);
    const int shownBefore = state.strayLightFrameCount;
    state.strayLightFrameCount = shownBefore + 1;
    if (shownBefore <= 0)
        return AfterPass::sleep;
    const CameraPoint point = pointFromHIDEvent(thread.event);
    logLine("Event n:1811 mappedPoint: (%.2f,%.2f) MouesState:%d vtMouseStop:%d ,result:%d", point.x, point.y,
            state.mouseArmed.load(), state.disarmedPollCount.load(), thread.pollResult);
    const CameraPoint shown = thread.pollResult == kIOReturnSuccess ? point : kNoCheckViewPoint;
    state.checkViewPoint = shown;
    askForCheckView(shown);
    return AfterPass::sleep;
}

void EventGeneratorNX7::keyWindowIgnoresMouse(bool ignores) {
    const auto keyWindow = state.pairingKeyWindow.load();
    if (!keyWindow || _keyWindowIgnoresMouse == static_cast<int>(ignores))
        return; // asked for already; most passes ask for what is so
    _keyWindowIgnoresMouse = static_cast<int>(ignores);
    Platform::current().runLoop.performOnMainThread(
        {this, "setIgnoresMouseEvents", {}, [=] { keyWindow->setIgnoresMouseEvents(ignores); }});
}

} // namespace lightpen
