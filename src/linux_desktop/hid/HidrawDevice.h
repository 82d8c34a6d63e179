// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "linux_desktop/hid/HidDescriptor.h"
#include "linux_desktop/hid/HidrawReader.h"
#include "linux_desktop/hid/HidrawWriter.h"
#include "platform/FileDescriptor.h"
#include "platform/IOHID.h"
#include "platform/PriorityInheritance.h"
#include "platform/ReportFanOut.h"
#include "platform/Shared.h"
#include "platform/Time.h"

namespace lightpen {

// Opens a hidraw node for reading and writing. Returns 0, or the error number; the node is then unchanged.
int openHidrawNode(const std::string& devnode, FileDescriptor& node);

// How a node is opened: a test gives an end of a socket pair of type SOCK_SEQPACKET.
using OpenHidrawNode = std::function<int(const std::string& devnode, FileDescriptor& node)>;

// What such an error number means: kIOReturnNotPrivileged, kIOReturnNoDevice (it has gone, or is about to) or
// kIOReturnError.
IOReturn resultOfOpenError(int error);

// A hidraw node as the device needs it.
struct HidrawNode {
    std::string devnode; // "/dev/hidraw3"
    HidReport input;     // the unnumbered input report
    // Whether the program is ending: waits without limit then end. Any thread. Empty: never.
    std::function<bool()> terminating = {};
    // Called once when the open node has failed or hung up, on any thread, perhaps just after the device's
    // end; it must not close or destroy the device, but may ask the main loop to. Empty: nobody wants to
    // know.
    std::function<void()> gone = {};
    OpenHidrawNode open = openHidrawNode;
};

// The device interface on one hidraw node whose reports are not numbered. Queues live for as long as somebody
// holds them, also beyond the device. It opens again after close, but not once the unit is gone: a unit that
// is plugged in again is a new device. Thread-safe.
class HidrawDevice final : public IOHIDDeviceInterface122 {
public:
    // The clock gives reports their time, and must outlive the device and its queues.
    HidrawDevice(HidrawNode node, Clock& clock);
    // Closes it.
    ~HidrawDevice() override;

    // kIOReturnNotPrivileged, kIOReturnNoDevice or kIOReturnError, with a log line, when the node cannot be
    // opened; success without effect when it is open.
    IOReturn open(std::uint32_t flags) override;
    // kIOReturnNotOpen when it is not open. Sends under way end with that too; a write that is stuck in the
    // kernel does not hold up the caller.
    IOReturn close() override;
    IOReturn setReport(IOHIDReportType type, std::uint32_t reportID, std::span<const std::uint8_t> report,
                       std::uint32_t timeoutMs) override;
    IOHIDQueueRef allocQueue() override;

    // The unit is known to be gone: started queues get what was left and their last word, and sends end with
    // kIOReturnNoDevice. May come before or after the node's own hang-up.
    void vanish();

private:
    IOReturn start(std::shared_ptr<const FileDescriptor> file);

    // Read by queues whenever they are asked, also after the device's end; null while it is not open.
    using CurrentReader = SharedReference<HidrawReader>;

    const HidrawNode node_;
    const std::shared_ptr<ReportFanOut> fanOut_;
    const std::shared_ptr<CurrentReader> reader_ = std::make_shared<CurrentReader>();
    SharedReference<HidrawWriter> writer_; // null while it is not open
    PriorityInheritanceMutex opening_;     // open and close take turns
};

} // namespace lightpen
