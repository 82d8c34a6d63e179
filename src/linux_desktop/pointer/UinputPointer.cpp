// SPDX-License-Identifier: MIT
#include "linux_desktop/pointer/UinputPointer.h"

#include <fcntl.h>
#include <libevdev/libevdev-uinput.h>
#include <libevdev/libevdev.h>
#include <linux/input.h>
#include <poll.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/Log.h"

namespace lightpen {

namespace {

// How long a device that is busy may hold up the thread that posts.
constexpr int kBusyMilliseconds = 10;

input_event record(unsigned type, unsigned code, int value) {
    input_event event{};
    event.type = static_cast<std::uint16_t>(type);
    event.code = static_cast<std::uint16_t>(code);
    event.value = value;
    return event;
}

FileDescriptor openNode(const char* path, std::string& problem) {
    FileDescriptor node(retryInterrupted([&] { return ::open(path, O_RDWR | O_CLOEXEC | O_NONBLOCK); }));
    if (!node)
        problem = std::string(path) + ": " + errorText(errno);
    return node;
}

} // namespace

std::shared_ptr<libevdev> describeUinputPointer() {
    std::shared_ptr<libevdev> description(libevdev_new(), libevdev_free);
    if (!description)
        return nullptr;
    libevdev_set_name(description.get(), "LightPenNX7 pointer");
    libevdev_set_id_bustype(description.get(), BUS_VIRTUAL);
    input_absinfo axis{};
    axis.maximum = PointerGeometry::kAxisMaximum;
    // BTN_MIDDLE is never sent: with two buttons alone the kernel takes an absolute device for a joystick.
    const std::array enabled{std::pair{EV_ABS, ABS_X}, std::pair{EV_ABS, ABS_Y}, std::pair{EV_KEY, BTN_LEFT},
                             std::pair{EV_KEY, BTN_RIGHT}, std::pair{EV_KEY, BTN_MIDDLE}};
    for (const auto& [type, code] : enabled)
        if (libevdev_enable_event_code(description.get(), static_cast<unsigned>(type),
                                       static_cast<unsigned>(code), type == EV_ABS ? &axis : nullptr) != 0)
            return nullptr;
    return description;
}

std::string UinputPointer::problemOf(const char* path) {
    std::string problem;
    static_cast<void>(openNode(path, problem));
    return problem;
}

std::unique_ptr<UinputPointer> UinputPointer::create(const char* path, std::string& problem) {
    FileDescriptor events = openNode(path, problem);
    if (!events)
        return nullptr;
    const auto description = describeUinputPointer();
    libevdev_uinput* device = nullptr;
    const int error =
        description ? libevdev_uinput_create_from_device(description.get(), events.get(), &device) : -ENOMEM;
    if (error != 0) {
        problem = std::string(path) + ": no device can be made: " + errorText(-error);
        return nullptr;
    }
    return std::make_unique<UinputPointer>(std::move(events),
                                           std::shared_ptr<libevdev_uinput>(device, libevdev_uinput_destroy));
}

// One frame an event, in one write: desktops see the button change where the move has led.
IOReturn UinputPointer::send(std::optional<Place> place, Button button, bool press) {
    std::array<input_event, 4> records{};
    std::size_t count = 0;
    if (place) {
        records[count++] = record(EV_ABS, ABS_X, place->axis.x);
        records[count++] = record(EV_ABS, ABS_Y, place->axis.y);
    }
    if (button != Button::none)
        records[count++] = record(EV_KEY, button == Button::left ? BTN_LEFT : BTN_RIGHT, press ? 1 : 0);
    records[count++] = record(EV_SYN, SYN_REPORT, 0);
    const IOReturn result = write(std::span(records).first(count));
    if (result != kIOReturnSuccess && !std::exchange(failureLogged_, true))
        logLine("Pointer: the virtual device takes no events: %s", errorText(errno).c_str());
    return result;
}

IOReturn UinputPointer::write(std::span<const input_event> records) {
    auto bytes = std::as_bytes(records);
    bool waited = false;
    while (!bytes.empty()) {
        const auto count =
            retryInterrupted([&] { return ::write(events_.get(), bytes.data(), bytes.size()); });
        if (count >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
            continue;
        }
        if (errno != EAGAIN || std::exchange(waited, true))
            return errno == ENODEV ? kIOReturnNoDevice : kIOReturnError;
        pollfd polled{events_.get(), POLLOUT, 0};
        retryInterrupted([&] { return poll(&polled, 1, kBusyMilliseconds); });
    }
    return kIOReturnSuccess;
}

} // namespace lightpen
