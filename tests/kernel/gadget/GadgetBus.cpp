// SPDX-License-Identifier: MIT
#include "kernel/gadget/GadgetBus.h"

#include <utility>

#include "kernel/gadget/GadgetComposition.h"
#include "kernel/gadget/GadgetFiles.h"
#include "kernel/gadget/GadgetPort.h"
#include "unit/bus/UnitDrive.h"

namespace lightpen {

GadgetBus::GadgetBus(Clock& clock, GadgetPaths paths)
    : clock_(clock), paths_(std::move(paths)), ownFiles_(std::make_unique<MachineGadgetFiles>()),
      files_(*ownFiles_), drive_(std::make_unique<UnitDrive>(clock)) {
    drive_->start();
}

GadgetBus::GadgetBus(Clock& clock, GadgetPaths paths, GadgetFiles& files)
    : clock_(clock), paths_(std::move(paths)), files_(files), drive_(std::make_unique<UnitDrive>(clock)) {
    drive_->start();
}

// The ports end before the units that they belong to, and after all that could call them.
GadgetBus::~GadgetBus() {
    drive_->stop();
    for (const auto& unit : drive_->units())
        unit->leaveSocket(*this);
    ports_.clear();
}

void GadgetBus::addUnit(std::shared_ptr<SoftwareUnit> unit, const GadgetDescription& gadget) {
    auto port = std::make_unique<GadgetPort>(
        *unit, clock_, std::make_unique<GadgetComposition>(files_, paths_, unit->description(), gadget),
        files_);
    {
        const std::lock_guard hold(mutex_);
        ports_[unit.get()] = std::move(port);
    }
    drive_->add(std::move(unit));
}

GadgetPort& GadgetBus::portOf(const SoftwareUnit& unit) const {
    const std::lock_guard hold(mutex_);
    return *ports_.at(&unit);
}

void GadgetBus::unitPlugged(SoftwareUnit& unit) {
    portOf(unit).setPlugged(true);
    drive_->wake();
}

void GadgetBus::unitUnplugged(SoftwareUnit& unit) {
    portOf(unit).setPlugged(false);
}

void GadgetBus::unitReport(SoftwareUnit& unit, const UnitReport& report) {
    portOf(unit).send(report.bytes);
}

bool GadgetBus::settle(const SoftwareUnit& unit, Microseconds patience) {
    return portOf(unit).settle(patience);
}

std::string GadgetBus::failure(const SoftwareUnit& unit) const {
    return portOf(unit).failure();
}

std::string GadgetBus::controller(const SoftwareUnit& unit) const {
    return portOf(unit).controller();
}

} // namespace lightpen
