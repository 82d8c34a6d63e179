// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/ServiceRegistry.h"

namespace lightpen::test {

inline constexpr IOHIDElementCookie kPenCookie = 0x13;

// What a host does with the registry to reach a unit. Each call leaves no reference behind.
class PluggedHost {
public:
    explicit PluggedHost(ServiceRegistry& registry) : registry_(registry) {}

    // The services of a class, in the order of the registry; each must be released.
    std::vector<io_service_t> services(std::string_view className) {
        std::vector<io_service_t> found;
        io_iterator_t iterator = 0;
        registry_.IOServiceGetMatchingServices(1, IOServiceMatching(className), iterator);
        while (const io_object_t service = registry_.IOIteratorNext(iterator))
            found.push_back(service);
        registry_.IOObjectRelease(iterator);
        return found;
    }
    std::vector<std::string> paths(std::string_view className) {
        std::vector<std::string> found;
        for (const io_service_t service : services(className)) {
            registry_.IORegistryEntryGetPath(service, kIOServicePlane, found.emplace_back());
            registry_.IOObjectRelease(service);
        }
        return found;
    }
    // The interface of the HID service with this number in the registry's order; null when there is none.
    IOHIDDeviceInterfaceRef interface(std::size_t number = 0) {
        IOCFPlugInInterface plugIn;
        const auto all = services("IOHIDDevice");
        if (number < all.size())
            registry_.IOCreatePlugInInterfaceForService(all[number], plugIn);
        for (const io_service_t service : all)
            registry_.IOObjectRelease(service);
        return plugIn ? plugIn() : nullptr;
    }
    // The pen's interface, opened.
    IOHIDDeviceInterfaceRef openedPen() {
        IOHIDDeviceInterfaceRef device = interface();
        if (device)
            device->open(0);
        return device;
    }
    static IOHIDQueueRef startedQueue(IOHIDDeviceInterface122& device, std::uint32_t depth) {
        const IOHIDQueueRef queue = device.allocQueue();
        if (!queue)
            return nullptr; // the unit has gone
        queue->create(0, depth);
        queue->addElement(kPenCookie, 0);
        queue->start();
        return queue;
    }

private:
    ServiceRegistry& registry_;
};

} // namespace lightpen::test
