// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "kernel/gadget/GadgetPort.h"
#include "platform/Time.h"
#include "unit/bus/SoftwareUnit.h"
#include "unit/bus/UnitDrive.h"
#include "unit/bus/UnitSocket.h"

namespace lightpen {

// A real USB bus: a unit that is plugged in is a USB device of this machine, made by the kernel's gadget
// side (configfs, usb_f_hid and a device controller such as dummy_hcd's), and the kernel's host side finds
// it. Needs root, and has one unit at a time, since the kernel has no room for a second one of four
// interfaces. Units catch up with the clock, which must run in real time, on a thread of the bus.
//
//   GadgetBus bus(clock);
//   CameraUnit& unit = bus.add<CameraUnit>({.reportLength = 32});
//   unit.plug();   // within about a second udev has its hidraw nodes
//
// plug() and unplug() of a unit return at once; a thread of the unit's own carries them out, in order. A
// unit that is plugged in again before that thread came to the unplugging is unplugged nevertheless. What a
// unit sends before the host has configured it is lost, as from any device; so is the oldest of what it
// sends while the host does not ask. The clock outlives the bus.
class GadgetBus final : private UnitSocket {
public:
    explicit GadgetBus(Clock& clock);
    // Unplugs everything and takes it out of the kernel again.
    ~GadgetBus() override;
    GadgetBus(const GadgetBus&) = delete;
    GadgetBus& operator=(const GadgetBus&) = delete;

    // A new unit, made of what its constructor takes behind description and socket; composed but not plugged
    // in. It belongs to the bus. Throws GadgetError when the kernel cannot have it. Any thread.
    template <class Unit, class... More>
    Unit& add(const UnitDescription& description = {}, const GadgetDescription& gadget = {}, More&&... more) {
        auto unit =
            std::make_shared<Unit>(description, static_cast<UnitSocket*>(this), std::forward<More>(more)...);
        addUnit(unit, gadget);
        return *unit;
    }

    // Waits until all that was asked of the unit's plug has been carried out. False when that took longer, or
    // when the kernel refused it; failure() then says why.
    bool settle(const SoftwareUnit& unit, Microseconds patience = std::chrono::seconds(10));
    // Why the unit's last plugging failed (also a line of the log). Empty: it did not.
    std::string failure(const SoftwareUnit& unit) const;

private:
    Microseconds now() override { return clock_.now(); }
    void unitPlugged(SoftwareUnit& unit) override;
    void unitUnplugged(SoftwareUnit& unit) override;
    void unitReport(SoftwareUnit& unit, const UnitReport& report) override;

    void addUnit(std::shared_ptr<SoftwareUnit> unit, const GadgetDescription& gadget);
    GadgetPort& portOf(const SoftwareUnit& unit) const;

    Clock& clock_;
    mutable std::mutex mutex_; // guards the map; a port lives as long as the bus
    std::map<const SoftwareUnit*, std::unique_ptr<GadgetPort>> ports_;

    UnitDrive drive_;
};

} // namespace lightpen
