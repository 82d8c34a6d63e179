// SPDX-License-Identifier: MIT
// The driver object, and the unit's coming and going.
#include "device/EventGeneratorNX7.h"

#include "device/PairingKeyWindow.h"
#include "device/SharedState.h"
#include "matching/RBIOServiceMatchingServer.h"
#include "platform/Log.h"
#include "platform/Platform.h"
#include "platform/UnitIdentifiers.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;

using DeviceOperation = EventGeneratorNX7DeviceCallbackProtocol::Operation;

constexpr Microseconds kLoopSlice = milliseconds(100);
constexpr Microseconds kDropPause = milliseconds(100);
constexpr Microseconds kKeyWindowPause = milliseconds(10);

// The USB device of a unit that is there, with a reference for the caller; 0 when there is none. A unit that
// is pulled and plugged in again is another device.
io_service_t presentUnit() {
    IORegistry& registry = Platform::current().registry;
    const mach_port_t port = RBIOServiceMatchingServer::defaultServer().masterPort();
    for (const std::int32_t product : {kUnitFirstProductID, kUnitSecondProductID})
        if (const io_service_t unit = registry.IOServiceGetMatchingService(
                port, RBIOServiceMatchingServer::matchingDictionaryForUSBDeviceWithVenderID(kUnitVendorID,
                                                                                            product)))
            return unit;
    return 0;
}

bool stillPresent(io_service_t unit) {
    const io_service_t present = presentUnit();
    if (present)
        Platform::current().registry.IOObjectRelease(present);
    return present == unit;
}

} // namespace

// The single instance

EventGeneratorNX7::EventGeneratorNX7()
    : _inputReportBuffer(std::make_shared<ReportBuffer>()),
      _outputReportBuffer(std::make_shared<ReportBuffer>()) {
    const auto capacity = static_cast<std::size_t>(sharedState.reportCopyLength.load());
    _inputReportBuffer->reserve(capacity);
    _outputReportBuffer->reserve(capacity);
}

EventGeneratorNX7* EventGeneratorNX7::sharedEventGeneratorNX7() {
    // The start runs the main loop, and what runs there may ask for the driver again: the lock is recursive
    // and the instance is there before it starts.
    static std::recursive_mutex lock;
    static EventGeneratorNX7* instance = nullptr;
    printText("Event n:546 \n");
    const std::lock_guard hold(lock);
    if (!instance) {
        instance = new EventGeneratorNX7;
        instance = instance->init();
    }
    return instance;
}

EventGeneratorNX7* EventGeneratorNX7::init() {
    RBIOServiceMatchingServer& server = RBIOServiceMatchingServer::defaultServer();
    for (const std::int32_t product : {kUnitFirstProductID, kUnitSecondProductID}) {
        const auto matching =
            RBIOServiceMatchingServer::matchingDictionaryForUSBDeviceWithVenderID(kUnitVendorID, product);
        server.addServiceDidRemoveObserver(this, &EventGeneratorNX7::deviceDidRemove, matching);
        server.addServiceDidAddObserver(this, &EventGeneratorNX7::deviceDidAdd, matching);
    }
    // Opened now, on the main thread, rather than by the first touch.
    serviceConnection();
    startDevice();
    sharedState.unitOpen = 1;
    return this;
}

// Presence and start

bool EventGeneratorNX7::isDevicePlugIn() const {
    RBIOServiceMatchingServer& server = RBIOServiceMatchingServer::defaultServer();
    return server.matchUSBDeviceWithVenderID(kUnitVendorID, kUnitFirstProductID) ||
           server.matchUSBDeviceWithVenderID(kUnitVendorID, kUnitSecondProductID);
}

void EventGeneratorNX7::startDevice() {
    if (const io_service_t unit = presentUnit()) {
        logLine("Event n:2125 Device plugged in on start up, read calibration data from FLASH memory.");
        _isStaring = true;
        _hasNoise = false;
        startHIDMode();
        sharedState.strayLightLevel = StrayLightDetecting();
        if (sharedState.strayLightLevel > 0)
            reportStrayLight();
        logLine("Event n:2350 Notificationnx9:%d", sharedState.strayLightLevel.load());
        // The point thread clears the flag when it starts. A unit that cannot be opened is waited for, but
        // not one that has left meanwhile, even if it is back: both are reported after this wait.
        RunLoop& loop = Platform::current().runLoop;
        while (_isStaring && !loop.terminating() && stillPresent(unit))
            loop.runFor(kLoopSlice);
        if (!stillPresent(unit))
            _isStaring = false;
        Platform::current().registry.IOObjectRelease(unit);
    }
    if (sharedState.wireless == 0)
        makePairingKeyWindow();
}

void EventGeneratorNX7::reportStrayLight() {
    sharedState.strayLightFrameCount = 1;
    Nx9windowChTwoPoint();
    if (sharedState.noiseNotifyArmed <= 0)
        return;
    const auto delegate = deviceDelegate();
    if (!delegate)
        return;
    delegate->noiseDetectedCallback(*this);
    if (delegate->respondsTo(DeviceOperation::deviceDidRemoveCallback))
        delegate->deviceDidRemoveCallback(*this);
}

// Arrival and removal

void EventGeneratorNX7::drainIterator(io_iterator_t iterator) {
    IORegistry& registry = Platform::current().registry;
    while (const io_object_t object = registry.IOIteratorNext(iterator))
        registry.IOObjectRelease(object);
}

// The delegate is asked for before the unit counts as open: the getter then holds the pointer output back,
// and the reports of the first passes are thrown away.
EventGeneratorNX7::DeviceDelegateRef EventGeneratorNX7::openedForDelegate() {
    auto delegate = deviceDelegate();
    sharedState.unitOpen = 1;
    return delegate;
}

void EventGeneratorNX7::announceArrival(const DeviceDelegateRef& delegate) {
    if (!delegate || sharedState.strayLightLevel != 0)
        return;
    if (delegate->respondsTo(DeviceOperation::statMenu))
        delegate->statMenu(*this);
    if (delegate->respondsTo(DeviceOperation::deviceDidAddCallback))
        delegate->deviceDidAddCallback(*this);
}

void EventGeneratorNX7::deviceDidAdd(io_iterator_t iterator) {
    logLine("Event n:647 device did add");
    drainIterator(iterator);
    _threshold = 512;
    _deviceMode = 0;
    sharedState.noiseNotifyArmed = 1;
    // A start without a unit left these as if one were open and armed; its first touch would reach the
    // pointer before the calibration does.
    sharedState.unitOpen = 0;
    sharedState.mouseArmed = 0;
    sharedState.disarmedPollCount = 0;
    startDevice();
    announceArrival(openedForDelegate());
}

// The queues are dropped, not disposed; the pauses let the point thread notice. A thread that is still
// starting may set its queue once more.
void EventGeneratorNX7::dropQueues() {
    Clock& clock = Platform::current().clock;
    _queue = nullptr;
    clock.sleep(kDropPause);
    do {
        _pointsQueue = nullptr;
        clock.sleep(kDropPause);
    } while (_pointsQueue.load());
    _calibrationQueue = nullptr;
    clock.sleep(kDropPause);
}

void EventGeneratorNX7::deviceDidRemove(io_iterator_t iterator) {
    drainIterator(iterator);
    logLine("Event n:666 device did removed");
    _stopThread = true;
    sharedState.unitOpen = 0;
    _deviceMode = -1;
    releaseHIDInterface();
    dropQueues();
    // A picture that this unit has begun would put the next one out of step, whose count nothing else sets
    // back before it is complete.
    sharedState.pictureAssembly.imageChunkCount = 0;
    if (sharedState.checkViewState == 2) {
        // Its unit is gone, and nothing would ever take the panel away.
        Nx9windowrelease();
        sharedState.checkViewState = 0;
    }
    const auto delegate = deviceDelegate();
    if (delegate && delegate->respondsTo(DeviceOperation::deviceDidRemoveCallback))
        delegate->deviceDidRemoveCallback(*this);
    Platform::current().clock.sleep(kDropPause);
    sharedState.mouseArmed = 0;
    sharedState.disarmedPollCount = 0;
    sharedState.unitOpen = 0;
    sharedState.deviceDelegateQueried = 0;
    logLine("Event n:594 device did removed");
}

void EventGeneratorNX7::restartUnit() {
    sharedState.checkViewState = 0;
    sharedState.checkViewSubState = 0;
    sharedState.strayLightLevel = 0;
    sharedState.strayLightFrameCount = 0;
    sharedState.noiseNotifyArmed = 1;
    logLine("Event n:2474 ");
    sharedState.unitOpen = 0;
    _deviceMode = -1;
    releaseHIDInterface();
    dropQueues();
    _stopThread = true;
    sharedState.mouseArmed = 0;
    sharedState.disarmedPollCount = 0;
    sharedState.unitOpen = 0;
    sharedState.deviceDelegateQueried = 0;
    setThreshold(512);
    _deviceMode = 0;
    startDevice();
    const auto delegate = openedForDelegate();
    if (isDevicePlugIn())
        announceArrival(delegate);
}

// The pairing key window

void EventGeneratorNX7::makePairingKeyWindow() {
    Clock& clock = Platform::current().clock;
    clock.sleep(kKeyWindowPause);
    auto keyWindow = newPairingKeyWindow();
    clock.sleep(kKeyWindowPause);
    _keyWindowIgnoresMouse = 0;
    // By design the last one is not closed: it stays where it is, and its keys count as well.
    if (const auto former = sharedState.pairingKeyWindow.load())
        _formerKeyWindows.push_back(former);
    if (keyWindow) {
        keyWindow->setIgnoresMouseEvents(false);
        keyWindow->makeKeyAndOrderFront();
    }
    sharedState.pairingKeyWindow = std::move(keyWindow);
    clock.sleep(kKeyWindowPause);
}

} // namespace lightpen
