// SPDX-License-Identifier: MIT
#include "matching/RBIOServiceMatchingServer.h"

#include <algorithm>
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
    const auto* invocation = static_cast<Invocation*>(refcon);
    if (invocation->server().containsInvocation(invocation))
        invocation->invoke(iterator);
}

// The properties of a service

constexpr std::string_view kInterfaceMark = "IOUSBInterface@";
// With its final zero; a path that does not fit is not read at all.
constexpr std::size_t kPathBufferSize = 512;
constexpr Microseconds kPauseAfterPath{500'000};

template <class Type>
std::optional<Type> read(io_object_t service, std::string_view key) {
    const auto property = Platform::current().registry.IORegistryEntryCreateCFProperty(service, key);
    const auto* value = property ? std::get_if<Type>(&*property) : nullptr;
    return value ? std::optional(*value) : std::nullopt;
}

std::int32_t readNumber(io_object_t service, std::string_view key, const char* complaint = nullptr) {
    const std::int64_t number = read<std::int64_t>(service, key).value_or(0);
    if (std::in_range<std::int32_t>(number))
        return static_cast<std::int32_t>(number);
    if (complaint)
        logLine("%s", complaint);
    return 0;
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
    return {"IOUSBDevice", {{"idVendor", venderID}, {"idProduct", productID}}};
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

void RBIOServiceMatchingServer::addInvocation(std::string_view notificationType,
                                              const InvocationRef& invocation,
                                              const MatchingDictionary& macthing) {
    ServiceRegistry& services = Platform::current().registry;
    io_iterator_t iterator = 0;
    // A failure shows in nothing but an observer that is never called; the iterator is 0 then.
    services.IOServiceAddMatchingNotification(notificationPort(), notificationType, macthing,
                                              serviceMatchingCallback, invocation.get(), iterator);
    const IOObject owned(services, iterator);
    // Taking what is there already is what arms the notification.
    drain(services, iterator);
    Registry* registry = &m_RegistryForServiceDidAddNotification;
    if (notificationType == kIOTerminatedNotification) {
        logLine("RBIOS n:208 classRBIOServiceMatchingRecord:%p",
                static_cast<const void*>(&typeid(RBIOServiceMatchingRecord)));
        logLine("RBIOS n:210 classRBIOServiceMatchingRecord respondsToSelector YES");
        registry = &m_RegistryForServiceDidRemoveNotification;
    }
    (*registry)[invocation->target()].push_back(
        RBIOServiceMatchingRecord::recordWithInvocation(invocation, iterator));
}

void RBIOServiceMatchingServer::retire(Registry& registry, const void* observer) {
    const auto found = registry.find(observer);
    if (found == registry.end())
        return;
    for (const auto& record : found->second)
        m_RemovedInvocations.push_back(record->invocation());
    registry.erase(found);
}

void RBIOServiceMatchingServer::removeObserver(const void* observer) {
    retire(m_RegistryForServiceDidAddNotification, observer);
    retire(m_RegistryForServiceDidRemoveNotification, observer);
}

bool RBIOServiceMatchingServer::containsInvocation(const Invocation* invocation) const {
    return std::none_of(m_RemovedInvocations.begin(), m_RemovedInvocations.end(),
                        [=](const auto& removed) { return removed.get() == invocation; });
}

// The properties of a service

std::int32_t RBIOServiceMatchingServer::pidOfHIDIOService(io_object_t service) {
    return readNumber(service, "ProductID", "RBIOS n:248 Get HID PID error");
}

std::int32_t RBIOServiceMatchingServer::vidOfHIDIOService(io_object_t service) {
    return readNumber(service, "VendorID");
}

std::optional<std::string> RBIOServiceMatchingServer::vendorNameOfHIDIOService(io_object_t service) {
    return read<std::string>(service, "Manufacturer");
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
    return readNumber(service, "idProduct");
}

std::int32_t RBIOServiceMatchingServer::vidOfUSBIOService(io_object_t service) {
    return readNumber(service, "idVendor");
}

std::optional<std::string> RBIOServiceMatchingServer::vendorNameOfUSBIOService(io_object_t service) {
    return read<std::string>(service, "USB Vendor Name");
}

std::int32_t RBIOServiceMatchingServer::interfaceNumberOfUSBIOService(io_object_t service) {
    return readNumber(service, "bInterfaceNumber");
}

} // namespace lightpen
