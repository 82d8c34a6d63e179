// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "linux_desktop/pointer/PointerBackend.h"
#include "platform/PointerEvents.h"

namespace lightpen {

// Which way pointer events go: the first that works, or only the one that was asked for.
enum class PointerChoice { automatic, uinput, xtest };

// "uinput" and "xtest"; everything else is automatic.
PointerChoice pointerChoiceNamed(std::string_view name);

// The pointer of the desktop. A way is chosen and opened when it is made, since desktops take seconds to
// notice a new device.
class LinuxPointer final : public PointerEvents {
public:
    // Opens one way; null and the reason when it cannot.
    using Opener = std::function<std::unique_ptr<PointerBackend>(std::string& problem)>;
    // How each way is opened; one that the choice excludes is not tried.
    struct Ways {
        Opener uinput;
        Opener xtest;
    };

    // Tries uinput first. Keeps the reasons when nothing can be opened.
    LinuxPointer(PointerChoice choice, const Ways& ways);

    // Fails, with one log line for all times, when no way could be opened.
    IOReturn IOServiceOpen(io_service_t service, std::uint32_t type, io_connect_t& connection) override;
    // kIOReturnBadArgument for a connection that was not opened here.
    IOReturn IOHIDPostEvent(io_connect_t connection, std::uint32_t eventType, IOGPoint location,
                            const NXMouseEventData& data, std::uint32_t eventDataVersion,
                            std::uint32_t eventFlags, std::uint32_t options) override;
    void releaseButtons() override;

private:
    std::unique_ptr<PointerBackend> backend_;
    std::string problem_;
    std::mutex mutex_;
    io_connect_t lastConnection_ = 0;
    bool problemLogged_ = false;
};

// The two ways of this machine. XTest is offered where the session is X11, or where it was asked for by name.
LinuxPointer::Ways pointerWays(PointerChoice choice, const SharedGeometry& geometry);

} // namespace lightpen
