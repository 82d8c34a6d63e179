// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/UdevMonitor.h"

#include <libudev.h>
#include <poll.h>

#include <cerrno>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

#include "linux_desktop/files/PlainFile.h"
#include "linux_desktop/hid/HidDescriptor.h"
#include "platform/FileDescriptor.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

// A loop that is held up for seconds, as by the opening of a unit, must not lose events: room for some
// hundred.
constexpr int kReceiveBuffer = 1 << 20;
// A socket that fails for good must not hold up the loop.
constexpr int kMostEventsAtOnce = 4096;

std::string attribute(udev_device* device, const char* name) {
    const char* value = udev_device_get_sysattr_value(device, name);
    return value ? value : "";
}

// Numbers in sysfs' USB attributes are hexadecimal, without a prefix. None when it is no number.
std::optional<std::int32_t> hexAttribute(udev_device* device, const char* name) {
    const std::string text = attribute(device, name);
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

// Empty when it cannot be read. libudev's own reading of attributes would end at the first zero byte.
std::vector<std::uint8_t> readDescriptor(const std::string& path) {
    const auto bytes = readPlainFile(path, kLongestHidDescriptor + 1).value_or("");
    return {bytes.begin(), bytes.end()};
}

bool isInitialised(udev_device* device) {
    return udev_device_get_is_initialized(device) > 0;
}

bool readable(int descriptor) {
    pollfd state{descriptor, POLLIN, 0};
    return retryInterrupted([&] { return ::poll(&state, 1, 0); }) > 0;
}

// None when they cannot be listed.
std::optional<std::vector<HidNode>> allNodes(udev& context, const UdevMonitor::IsInitialised& isInitialised) {
    const std::shared_ptr<udev_enumerate> enumeration(udev_enumerate_new(&context), udev_enumerate_unref);
    if (!enumeration || udev_enumerate_add_match_subsystem(enumeration.get(), "hidraw") < 0 ||
        udev_enumerate_scan_devices(enumeration.get()) < 0)
        return std::nullopt;
    std::vector<HidNode> nodes;
    for (udev_list_entry* entry = udev_enumerate_get_list_entry(enumeration.get()); entry;
         entry = udev_list_entry_get_next(entry)) {
        const std::shared_ptr<udev_device> device(
            udev_device_new_from_syspath(&context, udev_list_entry_get_name(entry)), udev_device_unref);
        if (!device) // gone since the scan
            continue;
        if (auto node = hidNodeOf(device.get(), isInitialised(device.get())))
            nodes.push_back(std::move(*node));
    }
    return nodes;
}

} // namespace

std::optional<HidNode> hidNodeOf(udev_device* device, bool initialised) {
    udev_device* hid = udev_device_get_parent_with_subsystem_devtype(device, "hid", nullptr);
    udev_device* interface = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_interface");
    udev_device* usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
    const char* devnode = udev_device_get_devnode(device);
    if (!hid || !interface || !usb || !devnode)
        return std::nullopt;
    const auto number = hexAttribute(interface, "bInterfaceNumber");
    const auto vendor = hexAttribute(usb, "idVendor");
    const auto product = hexAttribute(usb, "idProduct");
    if (!number || !vendor || !product)
        return std::nullopt;
    HidNode node;
    node.path = udev_device_get_syspath(device);
    node.devnode = devnode;
    node.interfacePath = udev_device_get_syspath(interface);
    node.interfaceNumber = *number;
    node.descriptor = readDescriptor(udev_device_get_syspath(hid) + std::string("/report_descriptor"));
    node.initialised = initialised;
    node.device = {udev_device_get_syspath(usb),
                   *vendor,
                   *product,
                   attribute(usb, "manufacturer"),
                   attribute(usb, "product"),
                   attribute(usb, "serial")};
    return node;
}

std::optional<std::vector<HidNode>> hidNodesOfTheMachine() {
    const std::shared_ptr<udev> context(udev_new(), udev_unref);
    return context ? allNodes(*context, isInitialised) : std::nullopt;
}

UdevMonitor::UdevMonitor(UnitPublisher& units, IsInitialised instead)
    : units_(units), isInitialised_(instead ? std::move(instead) : isInitialised) {}

bool UdevMonitor::start() {
    udev_.reset(udev_new(), udev_unref);
    // The kernel's own events come before the rules have set the permissions; udev's come after.
    if (udev_)
        monitor_.reset(udev_monitor_new_from_netlink(udev_.get(), "udev"), udev_monitor_unref);
    const auto failed = [](const char* what) {
        logLine("HID: the USB bus cannot be watched, units are not found: %s failed", what);
        return false;
    };
    if (!monitor_)
        return failed("udev_monitor_new_from_netlink");
    udev_monitor* const monitor = monitor_.get();
    // Only a larger buffer is missed when this is refused: lost events are noticed below.
    static_cast<void>(udev_monitor_set_receive_buffer_size(monitor, kReceiveBuffer));
    if (udev_monitor_filter_add_match_subsystem_devtype(monitor, "hidraw", nullptr) < 0 ||
        udev_monitor_filter_add_match_subsystem_devtype(monitor, "usb", "usb_device") < 0)
        return failed("udev_monitor_filter_add_match_subsystem_devtype");
    if (udev_monitor_enable_receiving(monitor) < 0)
        return failed("udev_monitor_enable_receiving");
    return enumerate() || failed("udev_enumerate_scan_devices");
}

int UdevMonitor::eventDescriptor() const {
    return monitor_ ? udev_monitor_get_fd(monitor_.get()) : -1;
}

bool UdevMonitor::enumerate() {
    const auto nodes = allNodes(*udev_, isInitialised_);
    if (nodes)
        units_.allNodes(*nodes);
    return nodes.has_value();
}

void UdevMonitor::readEvents() {
    bool lost = false;
    for (int event = 0; event < kMostEventsAtOnce && readable(eventDescriptor()); ++event) {
        errno = 0;
        udev_device* const received = udev_monitor_receive_device(monitor_.get());
        lost = lost || (!received && errno == ENOBUFS);
        if (const std::shared_ptr<udev_device> device{received, udev_device_unref})
            tell(device.get());
    }
    if (lost && !enumerate())
        logLine("HID: events of the USB bus were lost, and it cannot be looked at again");
}

void UdevMonitor::tell(udev_device* device) {
    const char* action = udev_device_get_action(device);
    const std::string path = udev_device_get_syspath(device);
    const bool removed = action && std::string_view(action) == "remove";
    const char* subsystem = udev_device_get_subsystem(device);
    if (!subsystem || std::string_view(subsystem) != "hidraw") {
        if (removed)
            units_.deviceGone(path);
    } else if (removed) {
        units_.nodeGone(path);
    } else if (const auto node = hidNodeOf(device, true)) { // udev speaks of a device when it is done with it
        units_.nodeSeen(*node);
    }
}

} // namespace lightpen
