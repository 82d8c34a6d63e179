// SPDX-License-Identifier: MIT
// The point thread: takes the newest report about sixty times a second and decides where it goes.
#include "device/EventGeneratorNX7.h"

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

using std::chrono::seconds;

constexpr Microseconds kPassPeriod{16'800};
constexpr std::uint32_t kPointsQueueDepth = 1; // the thread only ever sees the newest report

SharedState& state = sharedState;

// Keys of the pairing key window

bool pairingExitRequested() {
    return state.keyZPressed + state.keyDeletePressed == 2 && state.wireless == 0 &&
           state.checkViewState == 0;
}

void handleKeys() {
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
    writePenUpReport(thread.event.longValue);
    Platform::current().threads.setThreadPriority(1.0);
    _lightPenState = kPenUp;
    IOHIDQueueRef queue = _pointsQueue;
    if (queue) {
        logLine("Event n:1565 alloc points queue failed");
    } else if (const auto device = _pphidDeviceInterface.load()) {
        queue = device->allocQueue();
        _pointsQueue = queue;
    }
    thread.pollResult = queue ? queue->create(0, kPointsQueueDepth) : kIOReturnNoDevice;
    thread.pollResult = addReportElement(queue.get(), thread.pollResult);
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

// One function to the compiler, down to the call that posts the event; what a drag does not need is kept out
// of it (noinline). Some processors forget in a system call where the functions around it were called from,
// and a drag that comes back through ten of them is slower by a tenth.
[[gnu::flatten]] bool EventGeneratorNX7::pointThreadPass(PointThreadState& thread) {
    if (pairingExitRequested() && !refusesPairingExit()) {
        performPairingExit();
        return false;
    }
    handleKeys();
    poll(thread);
    if (throwsAway(thread) || processPoll(thread) == AfterPass::sleep)
        Platform::current().clock.sleep(kPassPeriod);
    return !threadEnds(thread);
}

[[gnu::noinline]] void EventGeneratorNX7::performPairingExit() {
    if (const auto delegate = deviceDelegate())
        delegate->tellOfRemoval(*this);
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
    Platform::current().runLoop.exitProcess(0);
}

// Polling

// Pixels of a picture and pairing records come the same way as points, and are no touches: they are taken,
// and the poll counts as empty.
IOReturn EventGeneratorNX7::nextPointEvent(PointThreadState& thread) {
    _pointsQueue.renew(thread.queue);
    if (!thread.queue)
        return kIOReturnUnderrun;
    if (!_imageProcessMode && _RetPairingData.isNull())
        return thread.queue->getNextEvent(thread.event, 0, 0);
    IOHIDEventStruct noTouch;
    const IOReturn result = thread.queue->getNextEvent(noTouch, 0, 0);
    return result == kIOReturnSuccess ? kIOReturnUnderrun : result;
}

void EventGeneratorNX7::poll(PointThreadState& thread) {
    if (!state.polls())
        return;
    thread.pollResult = nextPointEvent(thread);
    if (thread.pollResult == kIOReturnSuccess || _lightPenState == kPenUp)
        return;
    // The unit fell silent with the pen down: a made-up pen-up releases the button.
    writePenUpReport(thread.event.longValue);
    thread.pollResult = kIOReturnSuccess;
}

// Waits to arm, and arms. True for a report that is thrown away, which ends the pass.
bool EventGeneratorNX7::throwsAway(const PointThreadState& thread) {
    const bool reportTaken = thread.pollResult == kIOReturnSuccess;
    switch (armingStep(state.arming(), state.strayLightLevel > 0, reportTaken)) {
    case ArmingStep::goOn:
        break;
    case ArmingStep::throwAway:
        state.countPass();
        return true;
    case ArmingStep::arm:
        state.arm();
        if (const auto queue = _queue.load())
            setImageReceiver(*queue);
        logLine("Event n:1790 ");
        break;
    }
    return false;
}

EventGeneratorNX7::AfterPass EventGeneratorNX7::processPoll(PointThreadState& thread) {
    if (thread.pollResult != kIOReturnSuccess && state.strayLightLevel == 0) {
        if (state.wireless == 0)
            keyWindowIgnoresMouse(false);
        if (thread.pollResult != kIOReturnUnderrun)
            logLine("Event n:1688 Queue getNextEvent unhandled error: %x\n",
                    static_cast<unsigned>(thread.pollResult));
        return AfterPass::sleep;
    }
    if (state.strayLightViewShown == 1 && state.strayLightLevel > 0) {
        showStrayLight(thread);
        return AfterPass::sleep;
    }
    if (state.unitOpen != 1 || state.strayLightViewShown != 0 || state.strayLightLevel != 0)
        return AfterPass::sleep;
    if (state.wireless == 0)
        keyWindowIgnoresMouse(true);
    const CameraPoint point = pointFromHIDEvent(thread.event);
    if (const auto calibration = delegate()) {
        feedCalibration(*calibration, point);
        return AfterPass::sleep;
    }
    return drivePointer(thread, point);
}

} // namespace lightpen
