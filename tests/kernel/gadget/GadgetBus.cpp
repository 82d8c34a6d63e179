// SPDX-License-Identifier: MIT
#include "kernel/gadget/GadgetBus.h"

#include <utility>

namespace lightpen {

GadgetBus::GadgetBus(Clock& clock) : clock_(clock), drive_(clock) {
    drive_.start();
}

// The ports end before the units that they belong to, and after all that could call them.
GadgetBus::~GadgetBus() {
    drive_.stop();
    for (const auto& unit : drive_.units())
        unit->leaveSocket(*this);
    ports_.clear();
}

void GadgetBus::addUnit(std::shared_ptr<SoftwareUnit> unit, const GadgetDescription& gadget) {
    auto port = std::make_unique<GadgetPort>(*unit, clock_, gadget);
    {
        const std::lock_guard hold(mutex_);
        ports_[unit.get()] = std::move(port);
    }
    drive_.add(std::move(unit));
}

GadgetPort& GadgetBus::portOf(const SoftwareUnit& unit) const {
    const std::lock_guard hold(mutex_);
    return *ports_.at(&unit);
}

void GadgetBus::unitPlugged(SoftwareUnit& unit) {
    portOf(unit).setPlugged(true);
    drive_.wake();
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

} // namespace lightpen
