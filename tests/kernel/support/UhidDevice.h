// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <linux/uhid.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "platform/FileDescriptor.h"

namespace lightpen {

// A HID device without a bus beneath, which has a hidraw node for as long as it lives. The test must be root.
class UhidDevice {
public:
    // It says these numbers of itself, as if it were on USB.
    UhidDevice(std::uint32_t vendorID, std::uint32_t productID)
        : file_(open("/dev/uhid", O_RDWR | O_CLOEXEC)) {
        // One byte in, of the maker's own usage page.
        constexpr std::array<std::uint8_t, 21> kDescriptor{0x06, 0x00, 0xFF, 0x09, 0x01, 0xA1, 0x01,
                                                           0x09, 0x01, 0x15, 0x00, 0x25, 0x7F, 0x75,
                                                           0x08, 0x95, 0x01, 0x81, 0x02, 0xC0, 0x00};
        uhid_event event{};
        event.type = UHID_CREATE2;
        event.u.create2.bus = 3; // USB
        event.u.create2.vendor = vendorID;
        event.u.create2.product = productID;
        event.u.create2.rd_size = kDescriptor.size() - 1;
        std::memcpy(event.u.create2.rd_data, kDescriptor.data(), kDescriptor.size() - 1);
        if (!file_ || write(file_.get(), &event, sizeof event) != static_cast<ssize_t>(sizeof event))
            throw std::runtime_error("no device can be made through /dev/uhid");
    }

private:
    FileDescriptor file_;
};

} // namespace lightpen
