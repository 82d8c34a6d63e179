// SPDX-License-Identifier: MIT
#include "platform/ServiceRegistry.h"

#include <algorithm>
#include <utility>

namespace lightpen {

namespace {

constexpr mach_port_t kMasterPort = 0x1;

bool matches(const ServiceDescription& service, const MatchingDictionary& matching) {
    if (service.className != matching.className)
        return false;
    return std::all_of(matching.numbers.begin(), matching.numbers.end(), [&](const auto& wanted) {
        const auto found = service.properties.entries.find(wanted.first);
        if (found == service.properties.entries.end())
            return false;
        const auto* number = std::get_if<std::int64_t>(&found->second);
        return number && *number == wanted.second;
    });
}

} // namespace

// Properties and matching

std::string describe(const PropertyDictionary& dictionary) {
    std::string text = "{";
    for (const auto& [key, value] : dictionary.entries)
        text += key + " = " + describe(value) + "; ";
    return text + "}";
}

std::string describe(const Property& property) {
    if (const auto* number = std::get_if<std::int64_t>(&property))
        return std::to_string(*number);
    if (const auto* string = std::get_if<std::string>(&property))
        return *string;
    std::string text = "(";
    for (const auto& entry : std::get<std::vector<PropertyDictionary>>(property)) {
        text += text.size() > 1 ? ", " : "";
        text += describe(entry);
    }
    return text + ")";
}

MatchingDictionary IOServiceMatching(std::string_view className) {
    return {std::string(className), {}};
}

// Objects and references

io_object_t ServiceRegistry::addObject(Object object) {
    const std::lock_guard hold(mutex_);
    objects_.emplace(++lastHandle_, std::move(object));
    return lastHandle_;
}

ServiceRegistry::Object* ServiceRegistry::find(io_object_t handle) {
    const auto found = objects_.find(handle);
    return found == objects_.end() ? nullptr : &found->second;
}

const ServiceDescription* ServiceRegistry::findService(io_object_t handle) const {
    const auto found = objects_.find(handle);
    return found == objects_.end() || !found->second.service ? nullptr : &*found->second.service;
}

IOReturn ServiceRegistry::IOObjectRetain(io_object_t handle) {
    const std::lock_guard hold(mutex_);
    Object* object = find(handle);
    if (!object)
        return kIOReturnBadArgument;
    ++object->references;
    return kIOReturnSuccess;
}

IOReturn ServiceRegistry::IOObjectRelease(io_object_t handle) {
    const std::lock_guard hold(mutex_);
    Object* object = find(handle);
    if (!object)
        return kIOReturnBadArgument;
    if (--object->references > 0)
        return kIOReturnSuccess;
    const auto held = std::move(object->objects);
    objects_.erase(handle);
    for (const io_object_t inner : held)
        IOObjectRelease(inner);
    return kIOReturnSuccess;
}

// Listing

std::vector<io_service_t> ServiceRegistry::matchingServices(const MatchingDictionary& matching) const {
    std::vector<io_service_t> found;
    for (const auto& [handle, object] : objects_)
        if (object.listed && matches(*object.service, matching))
            found.push_back(handle);
    return found;
}

IOReturn ServiceRegistry::IOMasterPort(mach_port_t& port) {
    port = kMasterPort;
    return kIOReturnSuccess;
}

io_service_t ServiceRegistry::IOServiceGetMatchingService(mach_port_t, const MatchingDictionary& matching) {
    const std::lock_guard hold(mutex_);
    const auto services = matchingServices(matching);
    if (services.empty())
        return 0;
    IOObjectRetain(services.front());
    return services.front();
}

IOReturn ServiceRegistry::IOServiceGetMatchingServices(mach_port_t, const MatchingDictionary& matching,
                                                       io_iterator_t& iterator) {
    const std::lock_guard hold(mutex_);
    Object object;
    for (const io_service_t service : matchingServices(matching)) {
        IOObjectRetain(service);
        object.objects.push_back(service);
    }
    iterator = addObject(std::move(object));
    return kIOReturnSuccess;
}

io_object_t ServiceRegistry::IOIteratorNext(io_iterator_t iterator) {
    const std::lock_guard hold(mutex_);
    Object* object = find(iterator);
    if (!object)
        return 0;
    if (object->objects.empty()) {
        if (object->registration)
            object->registration->armed = true;
        return 0;
    }
    const io_object_t next = object->objects.front();
    object->objects.pop_front();
    return next;
}

// Properties

std::string ServiceRegistry::IOObjectGetClass(io_object_t object) {
    const std::lock_guard hold(mutex_);
    const ServiceDescription* service = findService(object);
    return service ? service->className : std::string();
}

std::optional<Property> ServiceRegistry::IORegistryEntryCreateCFProperty(io_object_t entry,
                                                                         std::string_view key) {
    const PropertyDictionary all = IORegistryEntryCreateCFProperties(entry);
    const auto found = all.entries.find(key);
    return found == all.entries.end() ? std::nullopt : std::optional(found->second);
}

PropertyDictionary ServiceRegistry::IORegistryEntryCreateCFProperties(io_object_t entry) {
    const std::lock_guard hold(mutex_);
    const ServiceDescription* service = findService(entry);
    return service ? service->properties : PropertyDictionary();
}

IOReturn ServiceRegistry::IORegistryEntryGetPath(io_object_t entry, std::string_view plane,
                                                 std::string& path) {
    const std::lock_guard hold(mutex_);
    const ServiceDescription* service = findService(entry);
    if (!service || plane != kIOServicePlane)
        return kIOReturnBadArgument;
    path = service->path;
    return kIOReturnSuccess;
}

IOReturn ServiceRegistry::IOCreatePlugInInterfaceForService(io_service_t handle,
                                                            IOCFPlugInInterface& plugIn) {
    const std::lock_guard hold(mutex_);
    const Object* object = find(handle);
    if (!object || !object->service || !object->service->plugIn)
        return kIOReturnUnsupported;
    if (!object->listed)
        return kIOReturnNoDevice;
    plugIn = object->service->plugIn;
    return kIOReturnSuccess;
}

// Notifications

std::shared_ptr<IONotificationPort> ServiceRegistry::IONotificationPortCreate(mach_port_t) {
    auto port = std::make_shared<IONotificationPort>([this] { deliver(); });
    ports_.push_back(port);
    return port;
}

IOReturn ServiceRegistry::IOServiceAddMatchingNotification(const std::shared_ptr<IONotificationPort>& port,
                                                           std::string_view notificationType,
                                                           const MatchingDictionary& matching,
                                                           IOServiceMatchingCallback callback, void* refcon,
                                                           io_iterator_t& iterator) {
    const std::lock_guard hold(mutex_);
    const bool arrivals = notificationType == kIOFirstMatchNotification;
    if (!arrivals && notificationType != kIOTerminatedNotification)
        return kIOReturnBadArgument;
    if (const IOReturn result = arrivals ? IOServiceGetMatchingServices(kMasterPort, matching, iterator)
                                         : (iterator = addObject({}), kIOReturnSuccess);
        result != kIOReturnSuccess)
        return result;
    find(iterator)->registration =
        Registration{port, arrivals ? Change::arrival : Change::removal, matching, callback, refcon, false};
    return kIOReturnSuccess;
}

io_service_t ServiceRegistry::publish(ServiceDescription description) {
    const std::lock_guard hold(mutex_);
    Object object;
    object.service = std::move(description);
    object.listed = true;
    const io_service_t service = addObject(std::move(object));
    enqueue(Change::arrival, service, Microseconds::zero());
    return service;
}

void ServiceRegistry::withdraw(io_service_t service) {
    const std::lock_guard hold(mutex_);
    Object* object = find(service);
    if (!object || !std::exchange(object->listed, false))
        return;
    enqueue(Change::removal, service, kRemovalDelay);
    IOObjectRelease(service);
}

void ServiceRegistry::enqueue(Change change, io_service_t service, Microseconds delay) {
    IOObjectRetain(service);
    events_.push_back({change, service, lastHandle_, clock_.now() + delay});
    if (delay > Microseconds::zero())
        scheduleDelivery(delay);
    else
        signalPorts();
}

void ServiceRegistry::scheduleDelivery(Microseconds delay) {
    runLoop_.performAfterDelay({this, "deliver", {}, [this] { signalPorts(); }}, delay);
}

void ServiceRegistry::signalPorts() {
    std::erase_if(ports_, [](const auto& weak) { return weak.expired(); });
    for (const auto& weak : ports_)
        if (const auto port = weak.lock())
            port->IONotificationPortGetRunLoopSource()->signal();
}

// An arrival that its own removal has overtaken does not.
bool ServiceRegistry::stands(const Event& event) const {
    const std::lock_guard hold(mutex_);
    return event.change == Change::removal || objects_.at(event.service).listed;
}

void ServiceRegistry::takeIntoIterators(const Event& event) {
    const std::lock_guard hold(mutex_);
    const ServiceDescription& service = *objects_.at(event.service).service;
    for (auto& [handle, object] : objects_) {
        const auto& registration = object.registration;
        if (!registration || handle > event.lastHandle || registration->change != event.change ||
            registration->port.expired() || !matches(service, registration->matching))
            continue;
        IOObjectRetain(event.service);
        object.objects.push_back(event.service);
    }
}

// A callback may release other iterators, so the next one is looked for after each.
void ServiceRegistry::callArmedIterators() {
    for (io_iterator_t handle = 0;;) {
        IOServiceMatchingCallback callback = nullptr;
        void* refcon = nullptr;
        {
            const std::lock_guard hold(mutex_);
            const auto found = std::find_if(objects_.upper_bound(handle), objects_.end(), [](auto& entry) {
                const Object& object = entry.second;
                return object.registration && object.registration->armed && !object.objects.empty();
            });
            if (found == objects_.end())
                return;
            handle = found->first;
            Registration& registration = *found->second.registration;
            registration.armed = false;
            callback = registration.callback;
            refcon = registration.refcon;
        }
        callback(refcon, handle);
    }
}

// Callbacks never nest: an observer may run the loop, and what arrives meanwhile waits for its end. Removals
// that follow each other without an arrival between them that still stands are reported together, so that a
// unit with a loose plug costs one opening, not one for each contact.
void ServiceRegistry::deliver() {
    if (delivering_)
        return;
    withoutNotifications([this] { deliverDue(); });
}

void ServiceRegistry::withoutNotifications(const std::function<void()>& work) {
    if (delivering_)
        return work();
    delivering_ = true;
    work();
    delivering_ = false;
    if (!events_.empty())
        scheduleDelivery(events_.front().due - clock_.now());
}

void ServiceRegistry::deliverDue() {
    Change gathered = Change::arrival; // what waits in the iterators to be reported, if anything does
    while (!events_.empty() && events_.front().due <= clock_.now()) {
        const Event event = events_.front();
        const bool taken = stands(event);
        if (taken && std::exchange(gathered, event.change) != event.change) {
            callArmedIterators();
            continue;
        }
        events_.pop_front();
        if (taken)
            takeIntoIterators(event);
        IOObjectRelease(event.service);
        if (events_.empty() || events_.front().due > clock_.now())
            callArmedIterators();
    }
}

// What owns a reference

IOObject IOObject::retained(ServiceRegistry& registry, io_object_t handle) {
    registry.IOObjectRetain(handle);
    return {registry, handle};
}

IOObject& IOObject::operator=(IOObject&& other) noexcept {
    std::swap(registry_, other.registry_);
    std::swap(handle_, other.handle_);
    // What was owned here goes now, not when the other one ends.
    const IOObject former(std::move(other));
    return *this;
}

IOObject::~IOObject() {
    if (handle_ != 0)
        registry_->IOObjectRelease(handle_);
}

IOObject IOObject::next() const {
    return handle_ != 0 ? IOObject(*registry_, registry_->IOIteratorNext(handle_)) : IOObject();
}

IOObject matchingServices(ServiceRegistry& registry, mach_port_t port, const MatchingDictionary& matching) {
    io_iterator_t iterator = 0;
    const IOReturn result = registry.IOServiceGetMatchingServices(port, matching, iterator);
    IOObject services(registry, iterator);
    return result == kIOReturnSuccess ? std::move(services) : IOObject();
}

void drain(ServiceRegistry& registry, io_iterator_t iterator) {
    while (const IOObject object{registry, registry.IOIteratorNext(iterator)}) {
    }
}

} // namespace lightpen
