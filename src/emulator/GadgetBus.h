// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "emulator/CameraUnit.h"
#include "emulator/UnitSocket.h"
#include "platform/Time.h"

namespace lightpen {

class GadgetFiles;
class GadgetPort;
class UnitDrive;

// Where the kernel shows its gadget side.
struct GadgetPaths {
    std::string gadgets = "/sys/kernel/config/usb_gadget"; // configfs with libcomposite
    std::string controllers = "/sys/class/udc";            // the device controllers there are
    std::string devices = "/dev";                          // where hidgN appears
};

// How a unit looks as a USB device, beyond what UnitDescription says.
struct GadgetDescription {
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

// A real USB bus: a unit that is plugged in is a USB device of this machine, made by the kernel's gadget
// side (configfs, usb_f_hid and a device controller such as dummy_hcd's), and the kernel's host side finds
// it. Needs root. Units catch up with the clock, which must run in real time, on a thread of the bus.
//
//   GadgetBus bus(clock);
//   CameraUnit& unit = bus.addUnit({.reportLength = 32});
//   unit.plug();   // within about a second udev has its hidraw nodes
//
// plug() and unplug() of a unit return at once; a thread of the unit's own carries them out, in order. A
// unit that is plugged in again before that thread came to the unplugging is unplugged nevertheless. What a
// unit sends before the host has configured it is lost, as from any device; so is the oldest of what it
// sends while the host does not ask. The clock outlives the bus.
class GadgetBus final : private UnitSocket {
public:
    explicit GadgetBus(Clock& clock, GadgetPaths paths = {});
    // With other files beneath; for tests. They outlive the bus.
    GadgetBus(Clock& clock, GadgetPaths paths, GadgetFiles& files);
    // Unplugs everything and takes it out of the kernel again.
    ~GadgetBus() override;
    GadgetBus(const GadgetBus&) = delete;
    GadgetBus& operator=(const GadgetBus&) = delete;

    // A new unit, composed but not plugged in. It belongs to the bus. Throws GadgetError when the kernel
    // cannot have it. Any thread.
    CameraUnit& addUnit(UnitDescription description = {}, GadgetDescription gadget = {});

    // Waits until all that was asked of the unit's plug has been carried out. False when that took longer, or
    // when the kernel refused it; failure() then says why.
    bool settle(const CameraUnit& unit, Microseconds patience = std::chrono::seconds(10));
    // Why the unit's last plugging failed (also a line of the log): for one, that each device controller is
    // taken. Empty: it did not.
    std::string failure(const CameraUnit& unit) const;
    // The device controller whose socket the unit is in, such as "dummy_udc.0"; empty while it is in none.
    std::string controller(const CameraUnit& unit) const;

private:
    Microseconds now() override { return clock_.now(); }
    void unitPlugged(CameraUnit& unit) override;
    void unitUnplugged(CameraUnit& unit) override;
    void unitReport(CameraUnit& unit, const UnitReport& report) override;

    GadgetPort& portOf(const CameraUnit& unit) const;

    Clock& clock_;
    const GadgetPaths paths_;
    const std::unique_ptr<GadgetFiles> ownFiles_;
    GadgetFiles& files_;

    mutable std::mutex mutex_; // guards the map; a port lives as long as the bus
    std::map<const CameraUnit*, std::unique_ptr<GadgetPort>> ports_;

    const std::unique_ptr<UnitDrive> drive_;
};

} // namespace lightpen
