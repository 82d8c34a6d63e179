// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/Time.h"
#include "unit/wire/UnitReport.h"

namespace lightpen {

// What may stand between a unit and its host, so that a test can see what the host makes of it: it is asked
// about all that crosses the wire, and may delay it, change it or cut the wire. This one leaves everything as
// it is. Called with the unit's lock held, on whatever thread drives the unit: it must not wait.
class WireHook {
public:
    // Where the plug is pulled around a report.
    enum class Cut { none, before, after };

    virtual ~WireHook() = default;

    // How much later than usual the unit's answers come.
    virtual Microseconds answerDelay() const { return {}; }
    // False: the unit sends no answers and no pictures; its pen reports come nevertheless.
    virtual bool answers() const { return true; }
    // False: the flash answers "N" for this record, whatever it holds.
    virtual bool finds(unsigned /*record*/) const { return true; }
    // A report is about to be sent, at its full length. It may be changed; what is returned is sent before
    // it.
    virtual std::optional<UnitReport> sends(UnitReport& /*report*/) { return std::nullopt; }
    // False: output reports stay with the host.
    virtual bool reads() const { return true; }
    // The host's next command. Cut before it fails to be sent; cut after it was taken and is not answered.
    virtual Cut command(std::span<const std::uint8_t> /*command*/) { return Cut::none; }
    // The report that the host's side of the wire is to get, which may be changed.
    virtual Cut report(UnitReport& /*report*/) { return Cut::none; }
    // The plug has been pulled as it was asked. After the returned time it is put in again; none: it stays
    // out.
    virtual std::optional<Microseconds> pulled() { return std::nullopt; }
};

} // namespace lightpen
