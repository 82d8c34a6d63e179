// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace lightpen {

// Where the kernel shows its gadget side.
struct GadgetPaths {
    std::string gadgets = "/sys/kernel/config/usb_gadget"; // configfs with libcomposite
    std::string controllers = "/sys/class/udc";            // the device controllers there are
};

// How a unit looks as a USB device, beyond what UnitDescription says.
struct GadgetDescription {
    // Through an interrupt OUT endpoint, or with SET_REPORT on the control endpoint.
    enum class Output { interruptOut, setReport };

    int interfaces = 4; // HID interfaces, numbered from 0; without the last one the pen's is missing
    std::size_t outputLength = 32; // bytes of the pen interface's output reports
    // How output reports travel. By setReport the kernel keeps only the newest that has not been read.
    Output output = Output::interruptOut;
};

// What the kernel refused, in words.
class GadgetError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace lightpen
