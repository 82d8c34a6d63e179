// SPDX-License-Identifier: MIT
#include "unit/faults/Faults.h"

#include <algorithm>
#include <random>
#include <utility>

namespace lightpen {

bool FaultyWire::finds(unsigned record) const {
    switch (faults.flashAnswers) {
    case FlashAnswers::yesYesNo:
        return record < 2;
    case FlashAnswers::yesNo:
        return record < 1;
    case FlashAnswers::asStored:
        break;
    }
    return true;
}

std::optional<UnitReport> FaultyWire::sends(UnitReport& report) {
    const std::size_t ordinaryLength = report.bytes.size();
    report.bytes.resize(faults.sentLength.value_or(ordinaryLength));
    if (faults.garbageEvery == 0 || ++sentReports_ % faults.garbageEvery != 0)
        return std::nullopt;
    return UnitReport{report.time, ReportKind::garbage, 0, garbage(ordinaryLength)};
}

ReportBytes FaultyWire::garbage(std::size_t ordinaryLength) const {
    std::mt19937_64 random(faults.garbageSeed + sentReports_);
    ReportBytes bytes(random() % (2 * ordinaryLength + 1));
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random() & 0xFF);
    return bytes;
}

// Counts the commands until the one around which the plug is pulled.
WireHook::Cut FaultyWire::command(std::span<const std::uint8_t> command) {
    auto& fault = faults.unplug;
    if (!fault || fault->occurrence <= 0)
        return Cut::none;
    const std::uint8_t letter = command.empty() ? std::uint8_t{0} : command.front();
    if (fault->command.value_or(letter) != letter || --fault->occurrence != 0)
        return Cut::none;
    switch (fault->when) {
    case UnplugPoint::When::beforeCommand:
        return Cut::before;
    case UnplugPoint::When::afterCommand:
        return Cut::after;
    default:
        return Cut::none;
    }
}

WireHook::Cut FaultyWire::report(UnitReport& report) {
    const auto& fault = faults.unplug;
    const bool isReply = report.kind == ReportKind::answer || report.kind == ReportKind::picture;
    if (!fault || !isReply || fault->occurrence > 0 ||
        fault->command.value_or(report.command) != report.command)
        return Cut::none;
    if (fault->when == UnplugPoint::When::beforeReply)
        return Cut::before;
    if (fault->when == UnplugPoint::When::midReply)
        report.bytes.resize(std::min(report.bytes.size(), fault->replyBytes));
    return Cut::after;
}

std::optional<Microseconds> FaultyWire::pulled() {
    const auto fault = std::exchange(faults.unplug, std::nullopt);
    return fault ? fault->replugAfter : std::nullopt;
}

} // namespace lightpen
