// SPDX-License-Identifier: MIT
// What the matching server reads about one service.
#include "matching/RBIOServiceMatchingServer.h"

#include <string_view>
#include <utility>

#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

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

// The interface's digit in the path; none where the path has none.
std::optional<char> interfaceCharacter(const std::string& path) {
    const std::size_t mark = path.find(kInterfaceMark);
    if (mark == std::string::npos || mark + kInterfaceMark.size() >= path.size())
        return std::nullopt;
    return path[mark + kInterfaceMark.size()];
}

} // namespace

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
