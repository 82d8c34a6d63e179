// SPDX-License-Identifier: MIT
// The driver object, the unit's coming and going, and who hears of it.
#include "device/EventGeneratorNX7.h"

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

// The USB device of a unit that is there; empty when there is no unit. A unit that is pulled and plugged in
// again is another device.
IOObject presentUnit() {
    ServiceRegistry& registry = Platform::current().registry;
    const mach_port_t port = RBIOServiceMatchingServer::defaultServer().masterPort();
    for (const std::int32_t product : {kUnitFirstProductID, kUnitSecondProductID}) {
        const auto matching =
            RBIOServiceMatchingServer::matchingDictionaryForUSBDeviceWithVenderID(kUnitVendorID, product);
        if (IOObject unit{registry, registry.IOServiceGetMatchingService(port, matching)})
            return unit;
    }
    return {};
}

} // namespace

// The single instance

EventGeneratorNX7::EventGeneratorNX7()
    : _inputReportBuffer(std::make_shared<ReportBuffer>()),
      _outputReportBuffer(std::make_shared<ReportBuffer>()) {
    sharedState = {};
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
    if (const IOObject unit = presentUnit()) {
        logLine("Event n:2125 Device plugged in on start up, read calibration data from FLASH memory.");
        _startedUnit = unit.get();
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
        while (_isStaring && !loop.terminating() && presentUnit().get() == unit.get())
            loop.runFor(kLoopSlice);
        if (presentUnit().get() != unit.get())
            _isStaring = false;
    }
    if (sharedState.wireless == 0)
        makePairingKeyWindow();
}

// Arrival and removal

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

// While the open unit is there, others come and go without a start or an end: they must not disturb the pen.
bool EventGeneratorNX7::openUnitIsListed() const {
    if (!_opened)
        return false;
    const mach_port_t port = RBIOServiceMatchingServer::defaultServer().masterPort();
    const IOObject services =
        matchingServices(Platform::current().registry, port, OruServiceMatchingDictionary());
    while (const IOObject service = services.next())
        if (service.get() == _hidDevice.get())
            return true;
    return false;
}

void EventGeneratorNX7::deviceDidAdd(io_iterator_t iterator) {
    if (openUnitIsListed()) {
        drain(Platform::current().registry, iterator);
        logLine("Driver: another camera unit has come; the open one stays in use");
        return;
    }
    logLine("Event n:647 device did add");
    drain(Platform::current().registry, iterator);
    if (_opened) {
        // The open unit has gone too, and that is still to be told. The new one must not be asked through
        // what is left of it: its queue would never have an answer.
        _stopThread = true;
        letGoOfUnit();
    }
    openArrivedUnit();
}

void EventGeneratorNX7::openArrivedUnit() {
    _threshold = 512;
    _deviceMode = 0;
    // The last unit's reports may have had a length that leaves commands without a byte.
    sharedState.reportSize = SharedState::kFirstReportLength;
    sharedState.reportCopyLength = SharedState::kFirstReportLength;
    sharedState.noiseNotifyArmed = 1;
    // A start without a unit left these as if one were open and armed; its first touch would reach the
    // pointer before the calibration does.
    sharedState.unitOpen = 0;
    sharedState.waitAnew();
    startDevice();
    announceArrival(openedForDelegate());
}

// The queues are dropped, not disposed; the pauses let the point thread notice. A thread that is still
// starting may set its queue once more.
void EventGeneratorNX7::letGoOfUnit() {
    Clock& clock = Platform::current().clock;
    sharedState.unitOpen = 0;
    _deviceMode = -1;
    releaseHIDInterface();
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
    drain(Platform::current().registry, iterator);
    if (openUnitIsListed()) {
        logLine("Driver: another camera unit has gone; the open one stays in use");
        return;
    }
    logLine("Event n:666 device did removed");
    _stopThread = true;
    letGoOfUnit();
    // A picture that this unit has begun would put the next one out of step, whose count nothing else sets
    // back before it is complete.
    sharedState.pictureAssembly.imageChunkCount = 0;
    if (sharedState.checkViewState == 2) {
        // Its unit is gone, and nothing would ever take the panel away.
        Nx9windowrelease();
        sharedState.checkViewState = 0;
    }
    if (const auto delegate = deviceDelegate())
        delegate->tellOfRemoval(*this);
    Platform::current().clock.sleep(kDropPause);
    sharedState.close();
    logLine("Event n:594 device did removed");
    // After the arrivals that are still to be reported: they come first, each with its own message.
    if (presentUnit())
        Platform::current().runLoop.performOnMainThread(
            {this, "openRemainingUnit", {}, [this] { openRemainingUnit(); }});
}

void EventGeneratorNX7::openRemainingUnit() {
    const io_object_t unit = presentUnit().get();
    if (unit == 0 || unit == _startedUnit || _opened || _isStaring)
        return;
    logLine("Driver: another camera unit is there; it is opened");
    Platform::current().registry.withoutNotifications([this] { openArrivedUnit(); });
}

void EventGeneratorNX7::restartUnit() {
    sharedState.checkViewState = 0;
    sharedState.checkViewSubState = 0;
    sharedState.strayLightLevel = 0;
    sharedState.noiseNotifyArmed = 1;
    logLine("Event n:2474 ");
    letGoOfUnit();
    sharedState.close();
    setThreshold(512);
    _deviceMode = 0;
    Platform::current().registry.withoutNotifications([this] {
        startDevice();
        const auto delegate = openedForDelegate();
        if (isDevicePlugIn())
            announceArrival(delegate);
    });
}

// Delegates

void EventGeneratorNX7::setDelegate(std::shared_ptr<EventGeneratorNX7CallbackProtocol> delegate) {
    const std::lock_guard hold(_lock);
    _delegate = std::move(delegate);
}

void EventGeneratorNX7::setCalibrationCenter(std::shared_ptr<KVRCalibrationProtocol> calibrationCenter) {
    const std::lock_guard hold(_lock);
    _calibrationCenter = std::move(calibrationCenter);
}

std::shared_ptr<EventGeneratorNX7DeviceCallbackProtocol> EventGeneratorNX7::deviceDelegate() {
    sharedState.delegateIsAskedFor();
    return _deviceDelegate;
}

void EventGeneratorNX7::setDeviceDelegate(
    std::shared_ptr<EventGeneratorNX7DeviceCallbackProtocol> newDelegate) {
    _deviceDelegate = std::move(newDelegate);
    // Through the getter: with a unit that was there from the start this is the first question, which starts
    // the polling.
    const auto delegate = deviceDelegate();
    const bool hearsOfNoise = delegate && delegate->respondsTo(DeviceOperation::noiseDetectedCallback);
    logLine("Event n:721 _hasNoise:%d, has implement:%d", _hasNoise.load(), hearsOfNoise);
    if (_hasNoise && hearsOfNoise) {
        logLine("Event n:724 Noise Detected.");
        delegate->noiseDetectedCallback(*this);
        _hasNoise = false;
    }
    if (delegate && sharedState.strayLightLevel > 0) {
        delegate->noiseDetectedCallback(*this);
        delegate->tellOfRemoval(*this);
    }
}

bool EventGeneratorNX7::isUnitOpen() {
    return sharedState.unitOpen == 1;
}

const std::string& EventGeneratorNX7::unitSerialNumber() {
    return sharedState.unitSerialNumber;
}

bool EventGeneratorNX7::hearsPen() {
    return sharedState.arming() == Arming::armed;
}

} // namespace lightpen
