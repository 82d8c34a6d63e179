// SPDX-License-Identifier: MIT
// Finding the unit's HID service and making, opening and releasing its device interface.
#include "device/EventGeneratorNX7.h"

#include "matching/RBIOServiceMatchingServer.h"
#include "platform/Log.h"
#include "platform/Platform.h"
#include "platform/UnitIdentifiers.h"

namespace lightpen {

namespace {

bool isPenInterface(io_service_t service) {
    RBIOServiceMatchingServer& server = RBIOServiceMatchingServer::defaultServer();
    const int vendor = server.vidOfHIDIOService(service);
    const int product = server.pidOfHIDIOService(service);
    server.vendorNameOfHIDIOService(service);
    const int interface = server.interfaceNumberOfHIDIOService(service);
    return vendor == kUnitVendorID && (product == kUnitFirstProductID || product == kUnitSecondProductID) &&
           interface == kUnitPenInterfaceNumber;
}

// The number under the key; none when it is absent or of another type.
std::optional<std::int64_t> numberIn(const PropertyDictionary& dictionary, std::string_view key) {
    const auto found = dictionary.entries.find(key);
    if (found == dictionary.entries.end())
        return std::nullopt;
    const auto* number = std::get_if<std::int64_t>(&found->second);
    return number ? std::optional(*number) : std::nullopt;
}

} // namespace

MatchingDictionary EventGeneratorNX7::OruServiceMatchingDictionary() {
    MatchingDictionary matching = IOServiceMatching("IOHIDDevice");
    matching.numbers["VendorID"] = kUnitVendorID;
    return matching;
}

io_service_t EventGeneratorNX7::getOruHWService() {
    IORegistry& registry = Platform::current().registry;
    const mach_port_t port = RBIOServiceMatchingServer::defaultServer().masterPort();
    io_iterator_t iterator = 0;
    if (registry.IOServiceGetMatchingServices(port, OruServiceMatchingDictionary(), iterator) !=
        kIOReturnSuccess)
        return 0;
    io_service_t found = 0;
    while (const io_service_t service = registry.IOIteratorNext(iterator)) {
        if (isPenInterface(service)) {
            logLine("Event n:2198 found defice: %d, interface number = %d", static_cast<int>(service),
                    kUnitPenInterfaceNumber);
            found = service;
            break;
        }
        registry.IOObjectRelease(service);
    }
    registry.IOObjectRelease(iterator);
    return found;
}

void EventGeneratorNX7::createHIDDeviceInterface() {
    IORegistry& registry = Platform::current().registry;
    printText("Event n:2254 Found device type %s\n", registry.IOObjectGetClass(_hidDevice).c_str());
    std::shared_ptr<IOCFPlugInInterface> plugIn;
    if (registry.IOCreatePlugInInterfaceForService(_hidDevice, plugIn) != kIOReturnSuccess || !plugIn)
        return;
    _pphidDeviceInterface = plugIn->queryInterface();
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
    _queueInterface = nullptr;
    if (_hidDevice)
        Platform::current().registry.IOObjectRelease(_hidDevice);
    _hidDevice = 0;
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
    IORegistry& registry = Platform::current().registry;
    std::string path;
    if (registry.IORegistryEntryGetPath(service, kIOServicePlane, path) == kIOReturnSuccess)
        printText("Event n:2157 [ %s ]\n", path.c_str());
    printText("%s\n", describe(registry.IORegistryEntryCreateCFProperties(service)).c_str());
    printText("\n");
}

} // namespace lightpen
