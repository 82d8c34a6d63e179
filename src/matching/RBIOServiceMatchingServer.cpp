// SPDX-License-Identifier: MIT
#include "matching/RBIOServiceMatchingServer.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <typeinfo>
#include <utility>

#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

// The refcon is the invocation. It is alive whenever this is called: its record holds it, and after the
// removal of its observer the list of removed invocations does.
void serviceMatchingCallback(void* refcon, io_iterator_t iterator) {
    auto* invocation = static_cast<Invocation*>(refcon);
    if (!invocation->server().containsInvocation(invocation))
        return;
    invocation->setArgument(iterator);
    invocation->invoke();
}

std::string observerKey(const void* observer) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", observer);
    return text;
}

// The properties of a service

constexpr std::string_view kInterfaceMark = "IOUSBInterface@";
// With its final zero; a path that does not fit is not read at all.
constexpr std::size_t kPathBufferSize = 512;
constexpr Microseconds kPauseAfterPath{500'000};

struct NumberReading {
    std::int32_t value = 0;
    bool unconvertible = false; // a number, but beyond 32 bits
};

NumberReading readNumber(io_object_t service, std::string_view key) {
    const auto property = Platform::current().registry.IORegistryEntryCreateCFProperty(service, key);
    const auto* number = property ? std::get_if<std::int64_t>(&*property) : nullptr;
    if (!number)
        return {};
    if (!std::in_range<std::int32_t>(*number))
        return {0, true};
    return {static_cast<std::int32_t>(*number)};
}

std::optional<std::string> readText(io_object_t service, std::string_view key) {
    const auto property = Platform::current().registry.IORegistryEntryCreateCFProperty(service, key);
    const auto* text = property ? std::get_if<std::string>(&*property) : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

std::string readPath(io_object_t service) {
    std::string path;
    const IOReturn result =
        Platform::current().registry.IORegistryEntryGetPath(service, kIOServicePlane, path);
    if (result != kIOReturnSuccess || path.size() >= kPathBufferSize)
        return {};
    return path;
}

// The character behind the mark in the path; no value when there is no such character.
std::optional<char> interfaceCharacter(const std::string& path) {
    const std::size_t mark = path.find(kInterfaceMark);
    if (mark == std::string::npos || mark + kInterfaceMark.size() >= path.size())
        return std::nullopt;
    return path[mark + kInterfaceMark.size()];
}

} // namespace

RBIOServiceMatchingServer& RBIOServiceMatchingServer::defaultServer() {
    static auto* const server = new RBIOServiceMatchingServer;
    return *server;
}

MatchingDictionary
RBIOServiceMatchingServer::matchingDictionaryForUSBDeviceWithVenderID(std::int32_t venderID,
                                                                      std::int32_t productID) {
    MatchingDictionary dictionary = IOServiceMatching("IOUSBDevice");
    dictionary.numbers["idVendor"] = venderID;
    dictionary.numbers["idProduct"] = productID;
    return dictionary;
}

// Ports

mach_port_t RBIOServiceMatchingServer::masterPort() {
    if (m_MasterPort != 0)
        return m_MasterPort;
    if (Platform::current().registry.IOMasterPort(m_MasterPort) != kIOReturnSuccess) {
        logLine(
            "Assertion failure in RBIOServiceMatchingServer %p masterPort, RBIOServiceMatchingServer:109: "
            "Cannot create master port!",
            static_cast<const void*>(this));
        Platform::current().runLoop.exitProcess(1);
    }
    return m_MasterPort;
}

std::shared_ptr<IONotificationPort> RBIOServiceMatchingServer::notificationPort() {
    if (m_NotificationPort)
        return m_NotificationPort;
    Platform& platform = Platform::current();
    m_NotificationPort = platform.registry.IONotificationPortCreate(masterPort());
    if (m_NotificationPort) {
        platform.runLoop.addCommonMode(NSModalPanelRunLoopMode);
        platform.runLoop.addSource(m_NotificationPort->IONotificationPortGetRunLoopSource(),
                                   kCFRunLoopCommonModes);
    }
    return m_NotificationPort;
}

// What is there now

bool RBIOServiceMatchingServer::matchUSBDeviceWithVenderID(std::int32_t venderID, std::int32_t productID) {
    ServiceRegistry& registry = Platform::current().registry;
    const auto matching = matchingDictionaryForUSBDeviceWithVenderID(venderID, productID);
    const IOObject service{registry, registry.IOServiceGetMatchingService(masterPort(), matching)};
    return static_cast<bool>(service);
}

// Observers

IOObject RBIOServiceMatchingServer::arm(std::string_view notificationType, const InvocationRef& invocation,
                                        const MatchingDictionary& matching) {
    ServiceRegistry& registry = Platform::current().registry;
    io_iterator_t iterator = 0;
    // A failure shows in nothing but an observer that is never called; the iterator is 0 then.
    registry.IOServiceAddMatchingNotification(notificationPort(), notificationType, matching,
                                              serviceMatchingCallback, invocation.get(), iterator);
    // Taking what is there already is what arms the notification.
    drain(registry, iterator);
    return {registry, iterator};
}

void RBIOServiceMatchingServer::addServiceDidAddInvocation(const InvocationRef& invocation,
                                                           const MatchingDictionary& macthing) {
    const IOObject iterator = arm(kIOFirstMatchNotification, invocation, macthing);
    m_RegistryForServiceDidAddNotification[observerKey(invocation->target())].push_back(
        RBIOServiceMatchingRecord::recordWithInvocation(invocation, iterator.get()));
}

void RBIOServiceMatchingServer::addServiceDidRemoveInvocation(const InvocationRef& invocation,
                                                              const MatchingDictionary& macthing) {
    const IOObject iterator = arm(kIOTerminatedNotification, invocation, macthing);
    logLine("RBIOS n:208 classRBIOServiceMatchingRecord:%p",
            static_cast<const void*>(&typeid(RBIOServiceMatchingRecord)));
    logLine("RBIOS n:210 classRBIOServiceMatchingRecord respondsToSelector YES");
    m_RegistryForServiceDidRemoveNotification[observerKey(invocation->target())].push_back(
        RBIOServiceMatchingRecord::recordWithInvocation(invocation, iterator.get()));
}

void RBIOServiceMatchingServer::retire(Registry& registry, const std::string& key) {
    const auto found = registry.find(key);
    if (found == registry.end())
        return;
    for (const auto& record : found->second)
        m_RemovedInvocations.push_back(record->invocation());
    registry.erase(found);
}

void RBIOServiceMatchingServer::removeObserver(const void* observer) {
    const std::string key = observerKey(observer);
    retire(m_RegistryForServiceDidAddNotification, key);
    retire(m_RegistryForServiceDidRemoveNotification, key);
}

bool RBIOServiceMatchingServer::containsInvocation(const Invocation* invocation) const {
    return std::none_of(m_RemovedInvocations.begin(), m_RemovedInvocations.end(),
                        [=](const InvocationRef& removed) { return removed.get() == invocation; });
}

// The properties of a service

std::int32_t RBIOServiceMatchingServer::pidOfHIDIOService(io_object_t service) {
    const NumberReading reading = readNumber(service, "ProductID");
    if (reading.unconvertible)
        logLine("RBIOS n:248 Get HID PID error");
    return reading.value;
}

std::int32_t RBIOServiceMatchingServer::vidOfHIDIOService(io_object_t service) {
    return readNumber(service, "VendorID").value;
}

std::optional<std::string> RBIOServiceMatchingServer::vendorNameOfHIDIOService(io_object_t service) {
    return readText(service, "Manufacturer");
}

std::int32_t RBIOServiceMatchingServer::interfaceNumberOfHIDIOService(io_object_t service) {
    std::int32_t number = -1;
    if (const std::string path = readPath(service); !path.empty()) {
        const std::optional<char> character = interfaceCharacter(path);
        if (!character) {
            logLine("Range error in RBIOServiceMatchingServer %p interfaceNumberOfHIDIOService, "
                    "RBIOServiceMatchingServer:289: no interface number in the path %s",
                    static_cast<const void*>(this), path.c_str());
            Platform::current().runLoop.exitProcess(1);
            return -1;
        }
        logLine("RBIOS n:289 char: %c", *character);
        number = *character >= '0' && *character <= '9' ? *character - '0' : 0;
    }
    Platform::current().clock.sleep(kPauseAfterPath);
    logLine("RBIOS n:292 interface number :%d", number);
    return number;
}

// Kept by name

IOObject RBIOServiceMatchingServer::createUSBDevicesWithVenderID(std::int32_t venderID,
                                                                 std::int32_t productID) {
    return matchingServices(Platform::current().registry, masterPort(),
                            matchingDictionaryForUSBDeviceWithVenderID(venderID, productID));
}

std::int32_t RBIOServiceMatchingServer::pidOfUSBIOService(io_object_t service) {
    return readNumber(service, "idProduct").value;
}

std::int32_t RBIOServiceMatchingServer::vidOfUSBIOService(io_object_t service) {
    return readNumber(service, "idVendor").value;
}

std::optional<std::string> RBIOServiceMatchingServer::vendorNameOfUSBIOService(io_object_t service) {
    return readText(service, "USB Vendor Name");
}

std::int32_t RBIOServiceMatchingServer::interfaceNumberOfUSBIOService(io_object_t service) {
    return readNumber(service, "bInterfaceNumber").value;
}

} // namespace lightpen
