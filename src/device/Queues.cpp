// SPDX-License-Identifier: MIT
// The image queue of the main loop, and the start, stop and restart of the input side.
#include "device/EventGeneratorNX7.h"

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr std::uint32_t kImageQueueDepth = 100; // a whole picture fits
constexpr Microseconds kPointThreadDelay = std::chrono::seconds(1);

} // namespace

// Adds the element of report ID 0 unless the queue holds it.
IOReturn EventGeneratorNX7::addReportElement(IOHIDQueueInterface& queue) {
    const IOHIDElementCookie cookie = inputReportElementCookieFromReportID(0);
    return queue.hasElement(cookie) ? kIOReturnSuccess : queue.addElement(cookie, 0);
}

void EventGeneratorNX7::attachSource(const RunLoopSourceRef& source) {
    RunLoop& loop = Platform::current().runLoop;
    if (loop.containsSource(source, kCFRunLoopDefaultMode))
        return;
    loop.addSource(source, kCFRunLoopDefaultMode);
    logLine("Event n:1895 ##attach source(%p) to runloop(%p) now", static_cast<const void*>(source.get()),
            static_cast<const void*>(&loop));
}

IOReturn EventGeneratorNX7::setImageReceiver(IOHIDQueueInterface& queue) {
    return queue.setEventCallout(
        [this](IOReturn status, IOHIDQueueInterface& sender) { imageReportReceived(status, sender); });
}

IOReturn EventGeneratorNX7::setUpHIDQueueAndCallback() {
    if (_queue.load()) {
        logLine("Event n:1872 alloc queue failed");
        return -1;
    }
    const auto device = _pphidDeviceInterface.load();
    const IOHIDQueueRef queue = device ? device->allocQueue() : nullptr;
    _queue = queue;
    _queueInterface = device;
    if (queue)
        queue->create(0, kImageQueueDepth);
    logLine("Event n:2010");
    if (queue)
        addReportElement(*queue);
    else
        inputReportElementCookieFromReportID(0);
    _CFRunLoopSourceRef = nullptr;
    const IOReturn sourceResult =
        queue ? queue->createAsyncEventSource(_CFRunLoopSourceRef) : kIOReturnNoDevice;
    if (sourceResult != kIOReturnSuccess) {
        logLine("Event n:1886 Failed to createAsyncEventSource, error:%d\n", sourceResult);
        setUpPointQueue();
        return sourceResult;
    }
    if (!_CFRunLoopSourceRef) {
        logLine("Event n:1910 event source null");
        setUpPointQueue();
        return kIOReturnSuccess;
    }
    attachSource(_CFRunLoopSourceRef);
    if (const IOReturn failure = setImageReceiver(*queue); failure != kIOReturnSuccess)
        logLine("Event n:1900 Failed to setEventCallout, error : %x", static_cast<unsigned>(failure));
    const IOReturn result = queue->start();
    if (result != kIOReturnSuccess)
        logLine("Event n:1906 Failed to start queue, error : %x", static_cast<unsigned>(result));
    setUpPointQueue();
    return result;
}

void EventGeneratorNX7::setUpPointQueue() {
    // A thread that outlived its removal must not run beside its successor: it has the wait to end in.
    _threadGeneration = _threadGeneration + 1;
    Platform::current().clock.sleep(kPointThreadDelay);
    Platform::current().threads.detachNewThread([this] { receivingPointsQueueThreadEntry(nullptr); });
}

void EventGeneratorNX7::stopPointQueue() {
    if (const auto queue = _pointsQueue.load())
        queue->stop();
}

void EventGeneratorNX7::startPointQueue() {
    if (sharedState.checkViewState == 2 && Nx9windowrelease() == 0)
        restartUnit();
    if (const auto queue = _pointsQueue.load()) {
        queue->start();
        _hasNoise = false;
    }
    if (const auto queue = _RetPairingData.load())
        queue->start();
    if (const auto queue = _PairingData.load())
        queue->start();
}

} // namespace lightpen
