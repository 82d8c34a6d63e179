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
    std::string devices = "/dev";                          // where hidgN appears
};

// How a unit looks as a USB device, beyond what UnitDescription says.
struct GadgetDescription {
    // Through an interrupt OUT endpoint, or with SET_REPORT on the control endpoint.
    enum class Output { interruptOut, setReport };

    int interfaces = 4;   // HID interfaces, numbered from 0
    int penInterface = 3; // the one with the pen's reports; when there is none of this number, none has them
    std::size_t outputLength = 32;     // bytes of the pen interface's output reports
    std::size_t otherReportLength = 8; // bytes of the other interfaces' reports, in and out
    // How output reports travel. By setReport the kernel keeps only the newest that has not been read.
    Output output = Output::interruptOut;
    std::string productName = "Camera unit";
    std::string serialNumber = "1";
};

// What the kernel refused, in words.
class GadgetError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace lightpen
