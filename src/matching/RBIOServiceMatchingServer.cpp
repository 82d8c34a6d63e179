// SPDX-License-Identifier: MIT
#include "matching/RBIOServiceMatchingServer.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <typeinfo>

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
    IORegistry& registry = Platform::current().registry;
    const io_service_t service = registry.IOServiceGetMatchingService(
        masterPort(), matchingDictionaryForUSBDeviceWithVenderID(venderID, productID));
    if (service == 0)
        return false;
    registry.IOObjectRelease(service);
    return true;
}

io_iterator_t RBIOServiceMatchingServer::createUSBDevicesWithVenderID(std::int32_t venderID,
                                                                      std::int32_t productID) {
    IORegistry& registry = Platform::current().registry;
    io_iterator_t iterator = 0;
    const IOReturn result = registry.IOServiceGetMatchingServices(
        masterPort(), matchingDictionaryForUSBDeviceWithVenderID(venderID, productID), iterator);
    if (result == kIOReturnSuccess)
        return iterator;
    if (iterator != 0)
        registry.IOObjectRelease(iterator);
    return 0;
}

// Observers

io_iterator_t RBIOServiceMatchingServer::arm(std::string_view notificationType,
                                             const InvocationRef& invocation,
                                             const MatchingDictionary& matching) {
    IORegistry& registry = Platform::current().registry;
    io_iterator_t iterator = 0;
    // A failure shows in nothing but an observer that is never called; the iterator is 0 then.
    registry.IOServiceAddMatchingNotification(notificationPort(), notificationType, matching,
                                              serviceMatchingCallback, invocation.get(), iterator);
    // Taking what is there already is what arms the notification.
    while (const io_object_t object = registry.IOIteratorNext(iterator))
        registry.IOObjectRelease(object);
    return iterator;
}

void RBIOServiceMatchingServer::addServiceDidAddInvocation(const InvocationRef& invocation,
                                                           const MatchingDictionary& macthing) {
    const io_iterator_t iterator = arm(kIOFirstMatchNotification, invocation, macthing);
    m_RegistryForServiceDidAddNotification[observerKey(invocation->target())].push_back(
        RBIOServiceMatchingRecord::recordWithInvocation(invocation, iterator));
    Platform::current().registry.IOObjectRelease(iterator);
}

void RBIOServiceMatchingServer::addServiceDidRemoveInvocation(const InvocationRef& invocation,
                                                              const MatchingDictionary& macthing) {
    const io_iterator_t iterator = arm(kIOTerminatedNotification, invocation, macthing);
    logLine("RBIOS n:208 classRBIOServiceMatchingRecord:%p",
            static_cast<const void*>(&typeid(RBIOServiceMatchingRecord)));
    logLine("RBIOS n:210 classRBIOServiceMatchingRecord respondsToSelector YES");
    m_RegistryForServiceDidRemoveNotification[observerKey(invocation->target())].push_back(
        RBIOServiceMatchingRecord::recordWithInvocation(invocation, iterator));
    Platform::current().registry.IOObjectRelease(iterator);
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

} // namespace lightpen
