// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "matching/RBIOServiceMatchingRecord.h"
#include "platform/ServiceRegistry.h"

namespace lightpen {

// Watches the registry for USB services that match a dictionary, calls observers when such services arrive
// and leave, and reads a few properties of services. Everything on the main thread.
class RBIOServiceMatchingServer {
public:
    // The instance that all of the process shares; made at the first call and never destroyed.
    static RBIOServiceMatchingServer& defaultServer();
    // Stands for every USB device with these identifiers.
    static MatchingDictionary matchingDictionaryForUSBDeviceWithVenderID(std::int32_t venderID,
                                                                         std::int32_t productID);

    RBIOServiceMatchingServer() = default;
    // Ends every notification of this server; its observers are not called any more.
    ~RBIOServiceMatchingServer() = default;
    RBIOServiceMatchingServer(const RBIOServiceMatchingServer&) = delete;
    RBIOServiceMatchingServer& operator=(const RBIOServiceMatchingServer&) = delete;

    // The registry's master port, asked for at the first call. Without one the process ends.
    mach_port_t masterPort();
    // The port of all notifications of this server, made at the first call and then attached to the main
    // loop, in the modal mode too. Null when the registry cannot make one.
    std::shared_ptr<IONotificationPort> notificationPort();

    // Whether at least one USB device with these identifiers is there now.
    bool matchUSBDeviceWithVenderID(std::int32_t venderID, std::int32_t productID);

    // Calls the observer's operation whenever services that match arrive; those already there do not count.
    // The operation gets the iterator over them and must take and release every object of it, or it is not
    // called again. Each registration is one call per event, also for an observer that has others. An
    // observer is told apart by the address that is passed here.
    template <class Observer, class Declaring>
    void addServiceDidAddObserver(Observer* observer, void (Declaring::*selector)(io_iterator_t),
                                  const MatchingDictionary& macthing) {
        addInvocation(kIOFirstMatchNotification, std::make_shared<Invocation>(*this, observer, selector),
                      macthing);
    }
    // The same for services that leave.
    template <class Observer, class Declaring>
    void addServiceDidRemoveObserver(Observer* observer, void (Declaring::*selector)(io_iterator_t),
                                     const MatchingDictionary& macthing) {
        addInvocation(kIOTerminatedNotification, std::make_shared<Invocation>(*this, observer, selector),
                      macthing);
    }
    // Ends every registration of the observer. A call that is already on its way is not made any more.
    void removeObserver(const void* observer);
    // True while the invocation may still be called, that is, as long as its observer has not been removed
    // (the name reads the other way round).
    bool containsInvocation(const Invocation* invocation) const;

    // Readers of one property each: 0, or no text, when it is absent, of another type, or a number beyond
    // 32 bits.
    std::int32_t pidOfHIDIOService(io_object_t service);
    std::int32_t vidOfHIDIOService(io_object_t service);
    std::optional<std::string> vendorNameOfHIDIOService(io_object_t service);
    // The digit behind "IOUSBInterface@" in the service's path, after half a second; -1 for an empty path.
    // Interface numbers above 9 are not known here. A path without that mark ends the process.
    std::int32_t interfaceNumberOfHIDIOService(io_object_t service);

    // --- Kept by name: nothing in this system calls these.

    // An iterator over the USB devices with these identifiers; empty on failure.
    IOObject createUSBDevicesWithVenderID(std::int32_t venderID, std::int32_t productID);
    // The properties of a USB device (idProduct, idVendor, "USB Vendor Name", bInterfaceNumber), at once; 0
    // or no text when absent.
    std::int32_t pidOfUSBIOService(io_object_t service);
    std::int32_t vidOfUSBIOService(io_object_t service);
    std::optional<std::string> vendorNameOfUSBIOService(io_object_t service);
    std::int32_t interfaceNumberOfUSBIOService(io_object_t service);

private:
    // By the observer's address, each with its records in the order of registration.
    using Registry = std::map<const void*, std::vector<std::shared_ptr<RBIOServiceMatchingRecord>>>;

    void addInvocation(std::string_view notificationType, const InvocationRef& invocation,
                       const MatchingDictionary& macthing);
    void retire(Registry& registry, const void* observer);

    mach_port_t m_MasterPort = 0;
    std::shared_ptr<IONotificationPort> m_NotificationPort;
    Registry m_RegistryForServiceDidAddNotification;
    Registry m_RegistryForServiceDidRemoveNotification;
    // Kept for good: a late callback must find out that its observer is gone, not follow a stale address.
    std::vector<InvocationRef> m_RemovedInvocations;
};

} // namespace lightpen
