// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "linux_desktop/pointer/PointerGeometry.h"
#include "platform/Defaults.h"
#include "platform/PointerButtons.h"
#include "platform/PointerEvents.h"
#include "platform/PriorityInheritance.h"

namespace lightpen {

// One way to inject pointer events.
class PointerDevice {
public:
    using Button = PointerButtons::Button;
    // The place of one event, in the coordinates of every kind of device.
    struct Place {
        PixelPoint pixel;
        AxisPoint axis;
    };

    virtual ~PointerDevice() = default;
    // Moves to the place, if there is one, then presses or releases the button, if it is one. One call at a
    // time.
    virtual IOReturn send(std::optional<Place> place, Button button, bool press) = 0;
};

// Which way pointer events go: the first that works, or only the one that was asked for.
enum class PointerChoice { automatic, uinput, xtest };

// "uinput" and "xtest"; everything else is automatic.
PointerChoice pointerChoiceNamed(std::string_view name);

// What was asked for; where that is automatic, what the user default "Pointer" says.
PointerChoice chosenPointer(PointerChoice asked, const UserDefaults& defaults);

// One way to a pointer's device.
struct PointerWay {
    const char* name; // in the log
    // Null and the reason when it cannot be opened.
    std::function<std::unique_ptr<PointerDevice>(std::string& problem)> open;
    // The reason why it could not be opened now, without making a device; empty when nothing speaks against
    // it.
    std::function<std::string()> problem = {};
};

// The ways of this machine that the choice leaves, uinput first. XTest is offered where the session is X11,
// or where it was asked for by name.
std::vector<PointerWay> pointerWays(PointerChoice choice);

// The pointer of the desktop. A way is chosen and opened when it is made, since desktops take seconds to
// notice a new device, or later, if there is none then.
class LinuxPointer final : public PointerEvents {
public:
    // Tries the ways, as findWay does. The geometry outlives the pointer.
    LinuxPointer(std::vector<PointerWay> ways, const SharedGeometry& geometry);
    // Releases what is down.
    ~LinuxPointer() override;
    LinuxPointer(const LinuxPointer&) = delete;
    LinuxPointer& operator=(const LinuxPointer&) = delete;

    // Tries the ways in their order, unless one is open already; returns whether one is. Keeps the reasons
    // when none can be opened. Main thread.
    bool findWay();
    bool hasWay() const;
    // The name of the way that is open; empty while none is.
    std::string wayInUse() const;

    // Fails, with one log line for all times, while no way could be opened.
    IOReturn IOServiceOpen(io_service_t service, std::uint32_t type, io_connect_t& connection) override;
    // kIOReturnBadArgument for a connection that was not opened here, kIOReturnNoDevice without a desktop, or
    // what the device says.
    IOReturn IOHIDPostEvent(io_connect_t connection, std::uint32_t eventType, IOGPoint location,
                            const NXMouseEventData& data, std::uint32_t eventDataVersion,
                            std::uint32_t eventFlags, std::uint32_t options) override;
    void releaseButtons() override;

private:
    IOReturn send(std::optional<PointerDevice::Place> place, PointerButtons::Action action);

    const std::vector<PointerWay> ways_;
    const SharedGeometry& geometry_;
    mutable PriorityInheritanceMutex mutex_; // around what follows
    std::unique_ptr<PointerDevice> device_;
    std::string deviceName_;
    std::string problem_;
    PointerButtons buttons_;
    io_connect_t lastConnection_ = 0;
    bool problemLogged_ = false;
};

} // namespace lightpen
