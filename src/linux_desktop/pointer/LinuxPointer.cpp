// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/LinuxPointer.h"

#include <utility>

#include "linux_desktop/pointer/UinputPointer.h"
#include "linux_desktop/pointer/XTestPointer.h"
#include "linux_desktop/process/Environment.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

// An X server for old programs inside a Wayland session moves its own pointer only.
bool isWaylandSession() {
    return !environmentVariable("WAYLAND_DISPLAY").empty() ||
           environmentVariable("XDG_SESSION_TYPE") == "wayland";
}

std::unique_ptr<PointerBackend> openUinput(const SharedGeometry& geometry, std::string& problem) {
    auto device = openUinputDevice(kUinputPath, problem);
    return device ? std::make_unique<UinputPointer>(std::move(*device), geometry) : nullptr;
}

} // namespace

PointerChoice pointerChoiceNamed(std::string_view name) {
    if (name == "uinput")
        return PointerChoice::uinput;
    return name == "xtest" ? PointerChoice::xtest : PointerChoice::automatic;
}

LinuxPointer::Ways pointerWays(PointerChoice choice, const SharedGeometry& geometry) {
    return {[&geometry](std::string& problem) { return openUinput(geometry, problem); },
            [&geometry, choice](std::string& problem) -> std::unique_ptr<PointerBackend> {
                if (choice != PointerChoice::xtest && isWaylandSession()) {
                    problem = "the session is not X11";
                    return nullptr;
                }
                return XTestPointer::create(nullptr, geometry, problem);
            }};
}

LinuxPointer::LinuxPointer(PointerChoice choice, const Ways& ways) {
    const auto attempt = [&](const Opener& open, const char* name) {
        std::string problem;
        backend_ = open(problem);
        if (backend_)
            logLine("Pointer: events go through %s%s", name,
                    problem_.empty() ? "" : (" (" + problem_ + ")").c_str());
        else
            problem_ += (problem_.empty() ? "" : "; ") + problem;
    };
    if (choice != PointerChoice::xtest)
        attempt(ways.uinput, "uinput");
    if (!backend_ && choice != PointerChoice::uinput)
        attempt(ways.xtest, "XTest");
}

IOReturn LinuxPointer::IOServiceOpen(io_service_t service, std::uint32_t type, io_connect_t& connection) {
    connection = 0;
    if (service == 0 || type != kIOHIDParamConnectType)
        return kIOReturnBadArgument;
    const std::lock_guard hold(mutex_);
    if (!backend_) {
        if (!std::exchange(problemLogged_, true))
            logLine("Pointer: no events can be posted (%s); install 70-lightpen-nx7.rules into "
                    "/etc/udev/rules.d, as root call \"udevadm control --reload\", \"modprobe uinput\" and "
                    "\"udevadm trigger --subsystem-match=misc\", and start the program again",
                    problem_.c_str());
        return kIOReturnNotPrivileged;
    }
    connection = ++lastConnection_;
    return kIOReturnSuccess;
}

IOReturn LinuxPointer::IOHIDPostEvent(io_connect_t connection, std::uint32_t eventType, IOGPoint location,
                                      const NXMouseEventData&, std::uint32_t, std::uint32_t, std::uint32_t) {
    {
        const std::lock_guard hold(mutex_);
        if (connection == 0 || connection > lastConnection_)
            return kIOReturnBadArgument;
    }
    return backend_->post(eventType, location);
}

void LinuxPointer::releaseButtons() {
    if (backend_)
        backend_->releaseButtons();
}

} // namespace lightpen
