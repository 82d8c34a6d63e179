// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "unit/bus/SoftwareUnit.h"

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

// The report descriptor of an interface with one input and one output report of these lengths in bytes, at
// most 65535, neither of them numbered.
std::string gadgetReportDescriptor(std::size_t inputLength, std::size_t outputLength);

// A unit as the kernel's gadget side describes it: device, configuration and HID functions. The machine has
// one at a time. Not thread-safe.
class GadgetComposition {
public:
    // Makes it. Throws GadgetError, and leaves nothing behind, when the kernel refuses.
    GadgetComposition(const UnitDescription& unit, const GadgetDescription& gadget, GadgetPaths paths = {});
    // Takes it out of its socket and out of the kernel.
    ~GadgetComposition();
    GadgetComposition(const GadgetComposition&) = delete;
    GadgetComposition& operator=(const GadgetComposition&) = delete;

    // Puts the device into the first device controller. Throws GadgetError when that cannot be. May block.
    void plug();
    // Takes it out again; does nothing when it is in none. May block.
    void unplug();
    // The node of the pen's function while it is plugged in; empty when it has none. Throws GadgetError when
    // the kernel does not say.
    std::string penNode() const;

private:
    struct Made {
        bool link = false;
        std::string path;
    };

    void makeDevice(const UnitDescription& unit);
    void makeFunction(int number, std::size_t input, std::size_t output, GadgetDescription::Output way);
    void makeFolder(const std::string& path);
    void removeAll();

    const GadgetPaths paths_;
    const std::string folder_;
    std::string penFunction_; // its folder; empty: there is none
    std::vector<Made> made_;  // in order
    bool plugged_ = false;
};

} // namespace lightpen
