// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/IOHID.h"
#include "platform/IOReturn.h"
#include "platform/RunLoop.h"

namespace lightpen {

// Handles of registry objects: services and iterators. 0 is none. Each holder owns one reference.
using io_object_t = std::uint32_t;
using io_service_t = io_object_t;
using io_iterator_t = io_object_t;
using mach_port_t = std::uint32_t;

// A registry property: a number, a string, or a list of dictionaries.
struct PropertyDictionary;
using Property = std::variant<std::int64_t, std::string, std::vector<PropertyDictionary>>;
// The properties of a service, or of an element in a list of them, by key.
struct PropertyDictionary {
    std::map<std::string, Property, std::less<>> entries;
};

// The text of a property as the log shows it: a number, the string itself, "({key = value; }, ...)".
std::string describe(const Property& property);
std::string describe(const PropertyDictionary& dictionary);

// Which services are meant: those of the class whose number properties have these values.
struct MatchingDictionary {
    std::string className;
    std::map<std::string, std::int64_t, std::less<>> numbers;
};

// The matching dictionary for all services of a class.
MatchingDictionary IOServiceMatching(std::string_view className);

// Where matching notifications arrive; its source must be attached to the main loop.
class IONotificationPort {
public:
    virtual ~IONotificationPort() = default;
    // What delivers; the same at each call, never null.
    virtual RunLoopSourceRef IONotificationPortGetRunLoopSource() = 0;
};

inline constexpr std::string_view kIOFirstMatchNotification = "IOServiceFirstMatch";
inline constexpr std::string_view kIOTerminatedNotification = "IOServiceTerminate";
inline constexpr std::string_view kIOServicePlane = "IOService";

// Called on the main loop when an armed iterator has objects. It must take all of them, or it is not called
// again.
using IOServiceMatchingCallback = void (*)(void* refcon, io_iterator_t iterator);

// The registry of services. A service is listed from the moment it is ready for use until it is gone. Main
// thread.
class IORegistry {
public:
    virtual ~IORegistry() = default;

    // Yields the port that the other operations take.
    virtual IOReturn IOMasterPort(mach_port_t& port) = 0;
    // The first matching service, with a reference for the caller; 0 when there is none.
    virtual io_service_t IOServiceGetMatchingService(mach_port_t port,
                                                     const MatchingDictionary& matching) = 0;
    // An iterator over the matching services of this moment, with a reference for the caller.
    virtual IOReturn IOServiceGetMatchingServices(mach_port_t port, const MatchingDictionary& matching,
                                                  io_iterator_t& iterator) = 0;
    // A new port, owned by the caller; its notifications end with it. Null when there can be none.
    virtual std::shared_ptr<IONotificationPort> IONotificationPortCreate(mach_port_t port) = 0;
    // Yields an iterator that gets each service that arrives (kIOFirstMatchNotification; those already there
    // at once) or leaves (kIOTerminatedNotification). The callback is made when the iterator, drained before,
    // gets something; callbacks never nest. The notification lives as long as the iterator has references.
    virtual IOReturn IOServiceAddMatchingNotification(const std::shared_ptr<IONotificationPort>& port,
                                                      std::string_view notificationType,
                                                      const MatchingDictionary& matching,
                                                      IOServiceMatchingCallback callback, void* refcon,
                                                      io_iterator_t& iterator) = 0;

    // The next object, with a reference for the caller; 0 at the end, which arms a notification's iterator.
    virtual io_object_t IOIteratorNext(io_iterator_t iterator) = 0;
    // One reference more, or less; without any the object is gone, an iterator with what it holds.
    // kIOReturnBadArgument for no object.
    virtual IOReturn IOObjectRetain(io_object_t object) = 0;
    virtual IOReturn IOObjectRelease(io_object_t object) = 0;

    // The class's name; empty for what is no service.
    virtual std::string IOObjectGetClass(io_object_t object) = 0;
    // A copy of the property; none without such a key.
    virtual std::optional<Property> IORegistryEntryCreateCFProperty(io_object_t entry,
                                                                    std::string_view key) = 0;
    // A copy of all; empty for what is no service.
    virtual PropertyDictionary IORegistryEntryCreateCFProperties(io_object_t entry) = 0;
    // The path in the plane. kIOReturnBadArgument, and the path as it was, for what is no service and in any
    // plane but kIOServicePlane.
    virtual IOReturn IORegistryEntryGetPath(io_object_t entry, std::string_view plane, std::string& path) = 0;

    // The plug-in of a HID service; fails for other services and for those that are gone.
    virtual IOReturn IOCreatePlugInInterfaceForService(io_service_t service,
                                                       std::shared_ptr<IOCFPlugInInterface>& plugIn) = 0;
};

// Owns one reference to an object of the registry, or none, and lets go of it at its end. Main thread; the
// registry must outlive it.
class IOObject {
public:
    IOObject() = default;
    // Takes over the reference that came with this handle; 0 is no object.
    IOObject(IORegistry& registry, io_object_t handle) : registry_(&registry), handle_(handle) {}
    // A reference of its own to an object that somebody else holds.
    static IOObject retained(IORegistry& registry, io_object_t handle);
    IOObject(IOObject&& other) noexcept
        : registry_(other.registry_), handle_(std::exchange(other.handle_, 0)) {}
    IOObject& operator=(IOObject&& other) noexcept;
    ~IOObject();

    // 0 for none. It stays owned by this.
    io_object_t get() const { return handle_; }
    explicit operator bool() const { return handle_ != 0; }
    // The next object of this iterator; none at its end, which arms a notification's iterator.
    IOObject next() const;

private:
    IORegistry* registry_ = nullptr;
    io_object_t handle_ = 0;
};

// An iterator over the services that match now; none on failure.
IOObject matchingServices(IORegistry& registry, mach_port_t port, const MatchingDictionary& matching);
// Takes every object of the iterator and lets go of it, which arms a notification's iterator.
void drain(IORegistry& registry, io_iterator_t iterator);

} // namespace lightpen
