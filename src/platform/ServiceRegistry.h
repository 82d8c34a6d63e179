// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
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
#include "platform/PriorityInheritance.h"
#include "platform/RunLoop.h"
#include "platform/Time.h"

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
    explicit IONotificationPort(std::function<void()> deliver)
        : source_(std::make_shared<RunLoopSource>(std::move(deliver))) {}
    // What delivers; the same at each call, never null.
    RunLoopSourceRef IONotificationPortGetRunLoopSource() const { return source_; }

private:
    const RunLoopSourceRef source_;
};

inline constexpr std::string_view kIOFirstMatchNotification = "IOServiceFirstMatch";
inline constexpr std::string_view kIOTerminatedNotification = "IOServiceTerminate";
inline constexpr std::string_view kIOServicePlane = "IOService";

// Called on the main loop when an armed iterator has objects. It must take all of them, or it is not called
// again.
using IOServiceMatchingCallback = void (*)(void* refcon, io_iterator_t iterator);

// One service as a backend describes it, complete and ready for use.
struct ServiceDescription {
    std::string className;         // "IOUSBDevice", "IOHIDDevice", "IOHIDSystem"
    std::string path;              // in the "IOService" plane
    PropertyDictionary properties; // what matching and the property readers see
    IOCFPlugInInterface plugIn;    // of a HID service; empty for others
};

// The registry of services: handles, iterators, matching and notifications. A service is listed from the
// moment it is ready for use until it is gone: a backend publishes and withdraws it, so start-up and hot-plug
// take the same way. Main thread, but for listing and counting references, which any thread may do. The few
// virtual operations let a double watch them or make them fail.
class ServiceRegistry {
public:
    // How long after a service has gone its removal is reported, so that the last report of its queues has
    // been taken by then.
    static constexpr Microseconds kRemovalDelay{50'000};

    // Both outlive the registry.
    ServiceRegistry(RunLoop& runLoop, Clock& clock) : runLoop_(runLoop), clock_(clock) {}
    virtual ~ServiceRegistry() = default;

    // Lists the service behind those already listed and reports its arrival. Returns its handle.
    io_service_t publish(ServiceDescription description);
    // Takes the service off the list at once and reports its removal kRemovalDelay later. An arrival that has
    // not been reported by then is dropped, the removal never.
    void withdraw(io_service_t service);

    // Yields the port that the other operations take.
    virtual IOReturn IOMasterPort(mach_port_t& port);
    // The first matching service, with a reference for the caller; 0 when there is none.
    io_service_t IOServiceGetMatchingService(mach_port_t port, const MatchingDictionary& matching);
    // An iterator over the matching services of this moment, with a reference for the caller.
    virtual IOReturn IOServiceGetMatchingServices(mach_port_t port, const MatchingDictionary& matching,
                                                  io_iterator_t& iterator);
    // A new port, owned by the caller; its notifications end with it. Null when there can be none.
    std::shared_ptr<IONotificationPort> IONotificationPortCreate(mach_port_t port);
    // Yields an iterator that gets each service that arrives (kIOFirstMatchNotification; those already there
    // at once) or leaves (kIOTerminatedNotification). The callback is made when the iterator, drained before,
    // gets something; callbacks never nest. The notification lives as long as the iterator has references.
    virtual IOReturn IOServiceAddMatchingNotification(const std::shared_ptr<IONotificationPort>& port,
                                                      std::string_view notificationType,
                                                      const MatchingDictionary& matching,
                                                      IOServiceMatchingCallback callback, void* refcon,
                                                      io_iterator_t& iterator);
    // Does the work as a callback would: what arrives or leaves meanwhile is reported after it, even when the
    // work runs the loop.
    void withoutNotifications(const std::function<void()>& work);

    // The next object, with a reference for the caller; 0 at the end, which arms a notification's iterator.
    io_object_t IOIteratorNext(io_iterator_t iterator);
    // One reference more, or less; without any the object is gone, an iterator with what it holds.
    // kIOReturnBadArgument for no object.
    IOReturn IOObjectRetain(io_object_t handle);
    IOReturn IOObjectRelease(io_object_t handle);

    // The class's name; empty for what is no service.
    std::string IOObjectGetClass(io_object_t object);
    // A copy of the property; none without such a key.
    std::optional<Property> IORegistryEntryCreateCFProperty(io_object_t entry, std::string_view key);
    // A copy of all; empty for what is no service.
    PropertyDictionary IORegistryEntryCreateCFProperties(io_object_t entry);
    // The path in the plane. kIOReturnBadArgument, and the path as it was, for what is no service and in any
    // plane but kIOServicePlane.
    IOReturn IORegistryEntryGetPath(io_object_t entry, std::string_view plane, std::string& path);

    // The plug-in of a HID service; fails for other services and for those that are gone.
    IOReturn IOCreatePlugInInterfaceForService(io_service_t handle, IOCFPlugInInterface& plugIn);

    // How many objects (services, iterators) have references: a leak shows here.
    std::size_t liveObjects() const { return objects_.size(); }

private:
    enum class Change { arrival, removal };
    // What makes an iterator a notification's.
    struct Registration {
        std::weak_ptr<IONotificationPort> port;
        Change change;
        MatchingDictionary matching;
        IOServiceMatchingCallback callback;
        void* refcon;
        bool armed = false;
    };
    struct Object {
        int references = 1;
        std::optional<ServiceDescription> service;
        bool listed = false;             // a service's, between publish and withdraw
        std::deque<io_object_t> objects; // an iterator's, each with a reference
        std::optional<Registration> registration;
    };
    struct Event {
        Change change;
        io_service_t service; // with a reference
        // The last handle given out before the event. Handles count upwards, so a notification with a later
        // one has been asked for since, and is not concerned.
        io_object_t lastHandle;
        Microseconds due;
    };

    io_object_t addObject(Object object);
    Object* find(io_object_t handle);
    const ServiceDescription* findService(io_object_t handle) const;
    std::vector<io_service_t> matchingServices(const MatchingDictionary& matching) const;
    void enqueue(Change change, io_service_t service, Microseconds delay);
    void signalPorts();
    void deliver();
    void deliverDue();
    bool stands(const Event& event) const;
    void takeIntoIterators(const Event& event);
    void callArmedIterators();
    void scheduleDelivery(Microseconds delay);

    RunLoop& runLoop_;
    Clock& clock_;
    // Around the objects; never held while a callback or a plug-in is made.
    mutable PriorityInheritanceRecursiveMutex mutex_;
    io_object_t lastHandle_ = 0x100;
    std::map<io_object_t, Object> objects_; // services are in order of publication
    std::deque<Event> events_;
    std::vector<std::weak_ptr<IONotificationPort>> ports_;
    bool delivering_ = false;
};

// Owns one reference to an object of the registry, or none, and lets go of it at its end. Main thread; the
// registry must outlive it.
class IOObject {
public:
    IOObject() = default;
    // Takes over the reference that came with this handle; 0 is no object.
    IOObject(ServiceRegistry& registry, io_object_t handle) : registry_(&registry), handle_(handle) {}
    // A reference of its own to an object that somebody else holds.
    static IOObject retained(ServiceRegistry& registry, io_object_t handle);
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
    ServiceRegistry* registry_ = nullptr;
    io_object_t handle_ = 0;
};

// An iterator over the services that match now; none on failure.
IOObject matchingServices(ServiceRegistry& registry, mach_port_t port, const MatchingDictionary& matching);
// Takes every object of the iterator and lets go of it, which arms a notification's iterator.
void drain(ServiceRegistry& registry, io_iterator_t iterator);

} // namespace lightpen
