// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/IORegistry.h"
#include "platform/RunLoop.h"
#include "platform/Time.h"

namespace lightpen {

// One service as a backend describes it, complete and ready for use.
struct ServiceDescription {
    std::string className;                       // "IOUSBDevice", "IOHIDDevice", "IOHIDSystem"
    std::string path;                            // in the "IOService" plane
    PropertyDictionary properties;               // what matching and the property readers see
    std::shared_ptr<IOCFPlugInInterface> plugIn; // of a HID service; null for others
};

// The registry behind every backend: handles, iterators, matching and notifications. A backend publishes
// services that are ready and withdraws them when they are gone; start-up and hot-plug take the same way.
// Main thread, but for listing and counting references, which any thread may do.
class ServiceRegistry : public IORegistry {
public:
    // How long after a service has gone its removal is reported, so that the last report of its queues has
    // been taken by then.
    static constexpr Microseconds kRemovalDelay{50'000};

    // Both outlive the registry.
    ServiceRegistry(RunLoop& runLoop, Clock& clock) : runLoop_(runLoop), clock_(clock) {}

    // Lists the service behind those already listed and reports its arrival. Returns its handle.
    io_service_t publish(ServiceDescription description);
    // Takes the service off the list at once and reports its removal kRemovalDelay later. An arrival that has
    // not been reported by then is dropped, the removal never.
    void withdraw(io_service_t service);

    IOReturn IOMasterPort(mach_port_t& port) override;
    io_service_t IOServiceGetMatchingService(mach_port_t port, const MatchingDictionary& matching) override;
    IOReturn IOServiceGetMatchingServices(mach_port_t port, const MatchingDictionary& matching,
                                          io_iterator_t& iterator) override;
    std::shared_ptr<IONotificationPort> IONotificationPortCreate(mach_port_t port) override;
    IOReturn IOServiceAddMatchingNotification(const std::shared_ptr<IONotificationPort>& port,
                                              std::string_view notificationType,
                                              const MatchingDictionary& matching,
                                              IOServiceMatchingCallback callback, void* refcon,
                                              io_iterator_t& iterator) override;
    io_object_t IOIteratorNext(io_iterator_t iterator) override;
    IOReturn IOObjectRetain(io_object_t handle) override;
    IOReturn IOObjectRelease(io_object_t handle) override;
    std::string IOObjectGetClass(io_object_t object) override;
    std::optional<Property> IORegistryEntryCreateCFProperty(io_object_t entry, std::string_view key) override;
    PropertyDictionary IORegistryEntryCreateCFProperties(io_object_t entry) override;
    IOReturn IORegistryEntryGetPath(io_object_t entry, std::string_view plane, std::string& path) override;
    IOReturn IOCreatePlugInInterfaceForService(io_service_t handle,
                                               std::shared_ptr<IOCFPlugInInterface>& plugIn) override;

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
    bool stands(const Event& event) const;
    void takeIntoIterators(const Event& event);
    void callArmedIterators();
    void scheduleDelivery(Microseconds delay);

    RunLoop& runLoop_;
    Clock& clock_;
    // Around the objects; never held while a callback or a plug-in is made.
    mutable std::recursive_mutex mutex_;
    io_object_t lastHandle_ = 0x100;
    std::map<io_object_t, Object> objects_; // services are in order of publication
    std::deque<Event> events_;
    std::vector<std::weak_ptr<IONotificationPort>> ports_;
    bool delivering_ = false;
};

} // namespace lightpen
