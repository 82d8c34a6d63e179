// SPDX-License-Identifier: MIT
#include "platform/IORegistry.h"

namespace lightpen {

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
    for (const auto& entry : std::get<std::vector<PropertyDictionary>>(property))
        text += (text.size() > 1 ? ", " : "") + describe(entry);
    return text + ")";
}

MatchingDictionary IOServiceMatching(std::string_view className) {
    return {std::string(className), {}};
}

IOObject IOObject::retained(IORegistry& registry, io_object_t handle) {
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

IOObject matchingServices(IORegistry& registry, mach_port_t port, const MatchingDictionary& matching) {
    io_iterator_t iterator = 0;
    const IOReturn result = registry.IOServiceGetMatchingServices(port, matching, iterator);
    IOObject services(registry, iterator);
    return result == kIOReturnSuccess ? std::move(services) : IOObject();
}

void drain(IORegistry& registry, io_iterator_t iterator) {
    while (const IOObject object{registry, registry.IOIteratorNext(iterator)}) {
    }
}

} // namespace lightpen
