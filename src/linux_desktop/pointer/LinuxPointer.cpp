// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/LinuxPointer.h"

#include <utility>

#include <QByteArray>

#include "linux_desktop/pointer/UinputPointer.h"
#include "linux_desktop/pointer/XTestPointer.h"
#include "platform/Log.h"
#include "platform/PlatformSettings.h"

namespace lightpen {

namespace {

// An X server for old programs inside a Wayland session moves its own pointer only.
bool isWaylandSession() {
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") || qgetenv("XDG_SESSION_TYPE") == "wayland";
}

} // namespace

PointerChoice pointerChoiceNamed(std::string_view name) {
    if (name == "uinput")
        return PointerChoice::uinput;
    return name == "xtest" ? PointerChoice::xtest : PointerChoice::automatic;
}

PointerChoice chosenPointer(PointerChoice asked, const UserDefaults& defaults) {
    return asked != PointerChoice::automatic ? asked : pointerChoiceNamed(textForKey(defaults, kPointerKey));
}

std::vector<PointerWay> pointerWays(PointerChoice choice) {
    const PointerWay uinput{"uinput",
                            [](auto& problem) { return UinputPointer::create(kUinputPath, problem); },
                            [] { return UinputPointer::problemOf(kUinputPath); }};
    const auto openXTest = [choice](std::string& problem) -> std::unique_ptr<PointerDevice> {
        if (choice == PointerChoice::xtest || !isWaylandSession())
            return XTestPointer::create(nullptr, problem);
        problem = "the session is not X11";
        return nullptr;
    };
    // A connection of its own, which nobody else notices.
    const PointerWay xtest{"XTest", openXTest, [openXTest] {
                               std::string problem;
                               static_cast<void>(openXTest(problem));
                               return problem;
                           }};
    if (choice == PointerChoice::automatic)
        return {uinput, xtest};
    return {choice == PointerChoice::uinput ? uinput : xtest};
}

LinuxPointer::LinuxPointer(std::vector<PointerWay> ways, const SharedGeometry& geometry)
    : ways_(std::move(ways)), geometry_(geometry) {
    findWay();
}

// The lock is not held meanwhile: a way may take its time to open, and whoever posts has none.
bool LinuxPointer::findWay() {
    if (hasWay())
        return true;
    std::string problems;
    for (const PointerWay& way : ways_) {
        std::string problem;
        auto device = way.open(problem);
        if (device) {
            logLine("Pointer: events go through %s%s", way.name,
                    problems.empty() ? "" : (" (" + problems + ")").c_str());
            const std::lock_guard hold(mutex_);
            device_ = std::move(device);
            deviceName_ = way.name;
            return true;
        }
        problems += (problems.empty() ? "" : "; ") + problem;
    }
    const std::lock_guard hold(mutex_);
    problem_ = problems;
    return false;
}

bool LinuxPointer::hasWay() const {
    const std::lock_guard hold(mutex_);
    return device_ != nullptr;
}

std::string LinuxPointer::wayInUse() const {
    const std::lock_guard hold(mutex_);
    return deviceName_;
}

IOReturn LinuxPointer::IOServiceOpen(io_service_t service, std::uint32_t type, io_connect_t& connection) {
    connection = 0;
    if (service == 0 || type != kIOHIDParamConnectType)
        return kIOReturnBadArgument;
    const std::lock_guard hold(mutex_);
    if (!device_) {
        if (!std::exchange(problemLogged_, true))
            logLine(
                "Pointer: no events can be posted (%s); install 70-lightpen-nx7-uinput.rules into "
                "/etc/udev/rules.d, and as root call \"udevadm control --reload\", \"modprobe uinput\" and "
                "\"udevadm trigger --subsystem-match=misc\"",
                problem_.c_str());
        return kIOReturnNotPrivileged;
    }
    connection = ++lastConnection_;
    return kIOReturnSuccess;
}

LinuxPointer::~LinuxPointer() {
    releaseButtons();
}

IOReturn LinuxPointer::IOHIDPostEvent(io_connect_t connection, std::uint32_t eventType, IOGPoint location,
                                      const NXMouseEventData&, std::uint32_t, std::uint32_t, std::uint32_t) {
    const std::lock_guard hold(mutex_);
    if (connection == 0 || connection > lastConnection_)
        return kIOReturnBadArgument;
    const PointerButtons::Action action = buttons_.apply(eventType);
    if (action.drop)
        return kIOReturnSuccess;
    const PointerGeometry geometry = geometry_.load();
    if (geometry.known())
        return send(PointerDevice::Place{geometry.pixelAt(location), geometry.axisAt(location)}, action);
    // Without a screen nothing can be pointed at, but a button is let go wherever the pointer is.
    if (action.button != PointerButtons::Button::none && !action.press)
        return send(std::nullopt, action);
    return kIOReturnNoDevice;
}

void LinuxPointer::releaseButtons() {
    const std::lock_guard hold(mutex_);
    for (const std::uint32_t release : {kLeftMouseUp, kRightMouseUp})
        if (const auto action = buttons_.apply(release); !action.drop)
            send(std::nullopt, action);
}

// A release that did not get through is still owed: the button counts as down, so that the next attempt is
// made.
IOReturn LinuxPointer::send(std::optional<PointerDevice::Place> place, PointerButtons::Action action) {
    const IOReturn result = device_->send(place, action.button, action.press);
    if (result != kIOReturnSuccess && action.button != PointerButtons::Button::none && !action.press)
        buttons_.apply(action.button == PointerButtons::Button::left ? kLeftMouseDown : kRightMouseDown);
    return result;
}

} // namespace lightpen
