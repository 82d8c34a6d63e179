// SPDX-License-Identifier: MIT
// The preview picture: what the camera sees, on request.
//
//   host                          unit
//   settings, bits 0 and 1    ->  stops its pen reports
//   (200 ms)
//   settings, bits 0 and 1    ->
//                             <-  six image reports
//   settings, bits clear      ->  pen reports again
#include "device/EventGeneratorNX7.h"

#include "device/Exchange.h"
#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;

constexpr Microseconds kBetweenTriggers = milliseconds(200);
constexpr Microseconds kAfterTrigger = milliseconds(10);
constexpr Microseconds kLoopSlice = milliseconds(100);

SharedState& state = sharedState;

std::string textOf(const PreviewImageRef& image) {
    if (!image)
        return "(null)";
    char text[48];
    std::snprintf(text, sizeof text, "<PreviewImage: %p>", static_cast<const void*>(image.get()));
    return text;
}

// Leaves the queue running, and empty.
void emptyQueue(IOHIDQueueInterface& queue) {
    IOHIDEventStruct dropped;
    while (queue.getNextEvent(dropped, 0, 0) == kIOReturnSuccess) {
    }
}

// The report behind a picture is no part of the next one.
void takeReportBehindPicture(IOHIDQueueInterface& queue) {
    IOHIDEventStruct event;
    const IOReturn result = queue.getNextEvent(event, 0, 0);
    if (result == kIOReturnUnderrun)
        return;
    if (result != kIOReturnSuccess)
        logLine("Event n:466 hid->getNextEvent() unhandled error: %x", static_cast<unsigned>(result));
    else if (state.pictureAssembly.release())
        logLine("Event n:473 $release related resource.");
}

} // namespace

PreviewImageRef
EventGeneratorNX7::imageWithOruHIDBytes(std::span<const std::uint8_t, kPreviewPictureBytes> bytes) {
    return previewImageOf(bytes);
}

void EventGeneratorNX7::setImage(PreviewImageRef image) {
    _previewImage = std::move(image);
}

// Fetching

IOReturn EventGeneratorNX7::sendImageMode(bool on) {
    setImageProcessMode(on);
    setImageShrinkTrigger(on);
    putIntoOutputBuffer(commandFromCurrentSetting());
    return doCommandFromOutputBuffer();
}

IOReturn EventGeneratorNX7::triggerToGetImage() {
    Clock& clock = Platform::current().clock;
    sendImageMode(true);
    clock.sleep(kBetweenTriggers);
    // The unit is silent from the first command on: what is queued now are pen reports from before it, which
    // the picture must not begin with.
    if (const auto queue = _queue.load())
        emptyQueue(*queue);
    const IOReturn result = sendImageMode(true);
    state.imageReady = 0;
    logLine("Event n:1949 image trigger setReport result: %d", result);
    clock.sleep(kAfterTrigger);
    return result;
}

// Without limit for a unit that is there and silent; its leaving ends the wait, even when it is back.
void EventGeneratorNX7::waitForPicture(const IOHIDQueueRef& queue) {
    RunLoop& loop = Platform::current().runLoop;
    while (state.imageReady != 1 && !loop.terminating() && queue && _queue.load() == queue &&
           isDevicePlugIn())
        loop.runFor(kLoopSlice);
}

PreviewImageRef EventGeneratorNX7::previewImage() {
    if (!isDevicePlugIn())
        return nullptr;
    // The wait below runs the main loop, from where the next request may come.
    if (_fetchingPicture)
        return _previewImage;
    _fetchingPicture = true;
    const IOHIDQueueRef queue = _queue;
    const PreviewImageRef last = _previewImage;
    if (queue)
        queue->start();
    if (triggerToGetImage() != kIOReturnNoDevice)
        waitForPicture(queue);
    if (queue)
        queue->stop();
    const IOReturn result = sendImageMode(false);
    if (result != kIOReturnSuccess)
        logLine("Event n:1149 switch to hid mode failed.");
    // The last report of a unit that leaves is empty; it may have passed for the last part of a picture.
    if (result == kIOReturnNoDevice || _queue.load() != queue)
        setImage(last);
    _fetchingPicture = false;
    logLine("Event n:1151 return image: %s", textOf(_previewImage).c_str());
    return _previewImage;
}

// Collecting

void EventGeneratorNX7::takeImageReport(const IOHIDEventStruct& event) {
    PictureAssembly& assembly = state.pictureAssembly;
    logLine("Event n:420 reportID :%x, size: %d, count :%d, ", event.longValue[0],
            static_cast<int>(event.longValueSize), assembly.nextIndex());
    if (!assembly.take(event.longValue, state.reportCopyLength))
        return;
    setImage(imageWithOruHIDBytes(assembly.picture()));
    assembly.release();
    state.imageReady = 1;
}

// Until a picture is complete each report counts as one of its chunks. An empty queue ends the turn: the next
// report's callout goes on here, and menus and long presses have the main loop meanwhile.
void EventGeneratorNX7::imageReportReceived(IOReturn, IOHIDQueueInterface& queue) {
    if (!_fetchingPicture && !state.collectsPictures())
        return;
    const RunLoop& loop = Platform::current().runLoop;
    while (isDevicePlugIn() && state.imageReady == 0 && !loop.terminating()) {
        IOHIDEventStruct event;
        const IOReturn result = queue.getNextEvent(event, 0, 0);
        if (result == kIOReturnUnderrun)
            return;
        if (result == kIOReturnSuccess) {
            takeImageReport(event);
            continue;
        }
        logLine("Event n:405 hid->getNextEvent() unhandled error: %x", static_cast<unsigned>(result));
        Platform::current().clock.sleep(kTurnPause);
    }
    if (isDevicePlugIn() && state.imageReady == 1)
        takeReportBehindPicture(queue);
}

} // namespace lightpen
