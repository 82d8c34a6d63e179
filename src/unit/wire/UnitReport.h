// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "platform/Time.h"

namespace lightpen {

using ReportBytes = std::vector<std::uint8_t>;

// What an input report is, for scripts and measurements; the host only sees the bytes.
enum class ReportKind { spot, penUp, answer, picture, garbage };

// One input report as the unit puts it on the bus.
struct UnitReport {
    Microseconds time{}; // when it is sent, on the clock that drives the unit
    ReportKind kind = ReportKind::penUp;
    std::uint8_t command = 0; // byte 0 of the command that an answer or a picture belongs to
    ReportBytes bytes;
};

} // namespace lightpen
