// SPDX-License-Identifier: MIT
// Opening the unit: its HID service, the device interface, the flash read, and the queues that its reports
// come through.
#include "device/EventGeneratorNX7.h"

#include "device/SharedState.h"
#include "matching/RBIOServiceMatchingServer.h"
#include "platform/Log.h"
#include "platform/Platform.h"
#include "platform/UnitIdentifiers.h"

namespace lightpen {

namespace {

constexpr std::uint32_t kImageQueueDepth = 100; // a whole picture fits
constexpr Microseconds kPointThreadDelay = std::chrono::seconds(1);

bool isPenInterface(io_service_t service) {
    RBIOServiceMatchingServer& server = RBIOServiceMatchingServer::defaultServer();
    const int vendor = server.vidOfHIDIOService(service);
    const int product = server.pidOfHIDIOService(service);
    server.vendorNameOfHIDIOService(service);
    const int interface = server.interfaceNumberOfHIDIOService(service);
    return vendor == kUnitVendorID && (product == kUnitFirstProductID || product == kUnitSecondProductID) &&
           interface == kUnitPenInterfaceNumber;
}

// The number under the key; no value when it is absent or of another type.
std::optional<std::int64_t> numberIn(const PropertyDictionary& dictionary, std::string_view key) {
    const auto found = dictionary.entries.find(key);
    if (found == dictionary.entries.end())
        return std::nullopt;
    const auto* number = std::get_if<std::int64_t>(&found->second);
    return number ? std::optional(*number) : std::nullopt;
}

void attachSource(const RunLoopSourceRef& source) {
    RunLoop& loop = Platform::current().runLoop;
    if (loop.containsSource(source, kCFRunLoopDefaultMode))
        return;
    loop.addSource(source, kCFRunLoopDefaultMode);
    logLine("Event n:1895 ##attach source(%p) to runloop(%p) now", static_cast<const void*>(source.get()),
            static_cast<const void*>(&loop));
}

} // namespace

// Opening

void EventGeneratorNX7::startHIDMode() {
    _stopThread = false;
    _opened = false;
    _hidDevice = getOruHWService();
    if (!_hidDevice) {
        logLine("Event n:2074 hiddevice null.");
        _isStaring = false;
        return;
    }
    _inputReportElements = fetchInputReportElements(_hidDevice.get());
    const auto elements = _inputReportElements.load();
    logLine("Event n:1982 _inputReportElements:%s",
            elements ? describe(Property(*elements)).c_str() : "(null)");
    createHIDDeviceInterface();
    if (!_pphidDeviceInterface.load()) {
        logLine("Event n:2071 hid interface null.");
        return;
    }
    if (const IOReturn result = openHIDInterface(); result != kIOReturnSuccess) {
        logLine("Event n:2068 open device failed. %d", result);
        return;
    }
    _opened = true;
    const auto serial =
        Platform::current().registry.IORegistryEntryCreateCFProperty(_hidDevice.get(), "SerialNumber");
    const auto* text = serial ? std::get_if<std::string>(&*serial) : nullptr;
    sharedState.unitSerialNumber = text ? *text : "";
    setIRFilterGrounded(true); // where a unit's filter is when it gets its power; nothing needs to be sent
    _calibrationPoints = _calibrationPointsFromFlash();
    logLine("Event n:2033 _calibrationPointsFromFlash: %s", describe(_calibrationPoints).c_str());
    setUpHIDQueueAndCallback();
}

MatchingDictionary EventGeneratorNX7::OruServiceMatchingDictionary() {
    MatchingDictionary matching = IOServiceMatching("IOHIDDevice");
    matching.numbers["VendorID"] = kUnitVendorID;
    return matching;
}

IOObject EventGeneratorNX7::getOruHWService() {
    const mach_port_t port = RBIOServiceMatchingServer::defaultServer().masterPort();
    const IOObject services =
        matchingServices(Platform::current().registry, port, OruServiceMatchingDictionary());
    while (IOObject service = services.next()) {
        if (!isPenInterface(service.get()))
            continue;
        logLine("Event n:2198 found defice: %d, interface number = %d", static_cast<int>(service.get()),
                kUnitPenInterfaceNumber);
        return service;
    }
    return {};
}

void EventGeneratorNX7::createHIDDeviceInterface() {
    ServiceRegistry& registry = Platform::current().registry;
    printText("Event n:2254 Found device type %s\n", registry.IOObjectGetClass(_hidDevice.get()).c_str());
    IOCFPlugInInterface plugIn;
    if (registry.IOCreatePlugInInterfaceForService(_hidDevice.get(), plugIn) != kIOReturnSuccess || !plugIn)
        return;
    _pphidDeviceInterface = plugIn();
    if (_pphidDeviceInterface.load())
        logLine("Event n:2774 create hid interface done.");
    else
        logLine("Event n:2270 Couldn't create HID class device interface");
}

IOReturn EventGeneratorNX7::openHIDInterface() {
    const auto device = _pphidDeviceInterface.load();
    const IOReturn result = device ? device->open(0) : kIOReturnNoDevice;
    printText("Event n:2285 Open result = %d\n", result);
    return result;
}

IOReturn EventGeneratorNX7::closeHIDInterface() {
    const auto device = _pphidDeviceInterface.load();
    if (!isDevicePlugIn() || !device)
        return kIOReturnSuccess;
    return device->close();
}

void EventGeneratorNX7::releaseHIDInterface() {
    _pphidDeviceInterface = nullptr;
    _hidDevice = {};
    _opened = false;
    // Whatever the pen still held down goes with its unit.
    Platform::current().pointer.releaseButtons();
}

InputReportElementsRef EventGeneratorNX7::fetchInputReportElements(io_service_t service) {
    logLine("Event n:2314 Fetch input report elements");
    const auto property =
        Platform::current().registry.IORegistryEntryCreateCFProperty(service, "InputReportElements");
    const auto* elements = property ? std::get_if<InputReportElements>(&*property) : nullptr;
    return elements ? std::make_shared<const InputReportElements>(*elements) : nullptr;
}

IOHIDElementCookie EventGeneratorNX7::inputReportElementCookieFromReportID(long reportID) const {
    logLine("Event n:2323 Input report element for %ld", reportID);
    IOHIDElementCookie cookie = 0;
    const auto elements = _inputReportElements.load();
    // The last match wins.
    for (const PropertyDictionary& element : elements ? *elements : InputReportElements()) {
        const auto number = numberIn(element, "ElementCookie");
        if (number && numberIn(element, "ReportID") == reportID)
            cookie = static_cast<IOHIDElementCookie>(*number);
    }
    logLine("Event n:2349 ");
    return cookie;
}

void EventGeneratorNX7::showHIDProperties(io_service_t service) {
    ServiceRegistry& registry = Platform::current().registry;
    std::string path;
    if (registry.IORegistryEntryGetPath(service, kIOServicePlane, path) == kIOReturnSuccess)
        printText("Event n:2157 [ %s ]\n", path.c_str());
    printText("%s\n", describe(registry.IORegistryEntryCreateCFProperties(service)).c_str());
    printText("\n");
}

// Queues

// Adds the element of report ID 0. A queue that holds it already, or a null one, is left alone, and the
// result of the step before stays.
IOReturn EventGeneratorNX7::addReportElement(IOHIDQueueInterface* queue, IOReturn before) {
    const IOHIDElementCookie cookie = inputReportElementCookieFromReportID(0);
    return !queue || queue->hasElement(cookie) ? before : queue->addElement(cookie, 0);
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
    if (queue)
        queue->create(0, kImageQueueDepth);
    logLine("Event n:2010");
    addReportElement(queue.get(), kIOReturnSuccess);
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
    // A thread that outlived its removal must not run beside its successor. It has this second to end.
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
