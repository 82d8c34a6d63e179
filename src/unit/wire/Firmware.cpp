// SPDX-License-Identifier: MIT
#include "unit/wire/Firmware.h"

#include <algorithm>
#include <utility>

namespace lightpen {

namespace {

constexpr std::size_t kShortestOutput = 7;
constexpr std::size_t kLongestOutput = 255;

// A host that asks for no further record for this long has given up its flash read.
constexpr Microseconds kReadPatience{2'000'000};

constexpr std::uint8_t kSettingsMark = 0x40;

} // namespace

Firmware::Firmware(std::size_t reportLength, Eye& eye, WireHook& hook, DeviceInformation deviceInformation)
    : information(deviceInformation), reportLength_(reportLength), eye_(eye), hook_(hook) {}

void Firmware::powerUp(Microseconds now) {
    nextFrame_ = now;
    flash.forgetWaiting();
    if (!behaviour.resetsAtPowerOff)
        return;
    settings_ = {};
    settings_.filterOut = !behaviour.filterInAtPowerUp;
    vision_.powerUp(settings_.filterOut);
    stream_.powerUp();
    tasks_.clear();
    ready_.clear();
    quietUntil_ = lastQuietCommand_ = Microseconds::min();
    readUnderWay_ = imageMode_ = false;
    operatingModeAcknowledges_ = wirelessAcknowledges_ = 0;
    tellEye();
}

// Commands

void Firmware::handleOutput(std::span<const std::uint8_t> report, Microseconds now) {
    if (report.size() < kShortestOutput || report.size() > kLongestOutput)
        return;
    Command command{};
    std::copy_n(report.begin(), std::min(report.size(), command.size()), command.begin());
    const bool allZero = std::all_of(report.begin(), report.end(), [](auto byte) { return byte == 0; });
    if (command[0] != 'H' && std::exchange(readUnderWay_, false))
        quietUntil_ = lastQuietCommand_ + kQuietTime + hook_.answerDelay();
    if (dispatch(command, allZero, now))
        // Behind a filter move, the first picture decides before an idle report does.
        stream_.idleFrom(std::max({now + kQuietTime, quietUntil_, vision_.settledAt() + PenStream::kFrame}));
}

bool Firmware::dispatch(const Command& command, bool allZero, Microseconds now) {
    switch (command[0]) {
    case 0:
        if (command[1] & kSettingsMark)
            applySettings(command, now);
        else if (allZero)
            flash.erase();
        else
            return false;
        return true;
    case 'C':
        keepCalibration(command);
        return true;
    case 'H':
        answerRead(command[1], now);
        return true;
    case 'K':
        endImageMode();
        beQuiet(now + kQuietTime + hook_.answerDelay());
        lastQuietCommand_ = now;
        schedule({Task::What::testLight, {now + hook_.answerDelay(), ReportKind::answer, 'K', {}}});
        return true;
    case 'R':
        answerPairingRecord(command[1], now);
        return true;
    case 'S':
        keepPairingRecord(command, now);
        return true;
    case 'W':
        operatingModeAcknowledges_ += command[1] == 'W' ? 1 : 0;
        return command[1] == 'W';
    case 'T':
        ++wirelessAcknowledges_;
        return true;
    default:
        return false;
    }
}

void Firmware::applySettings(const Command& command, Microseconds now) {
    const auto bit = [bits = command[1]](int number) { return (bits >> number & 1) != 0; };
    settings_ = {.imageProcessMode = bit(0),
                 .imageShrinkTrigger = bit(1),
                 .filterOut = bit(2),
                 .maskCalibration = bit(3),
                 .mask = bit(4),
                 .brightness = bit(5),
                 .freshUnit = bit(7),
                 .threshold = command[2] | command[3] << 8,
                 .exposure = command[5]};
    tellEye();
    const bool hushed = quiet(now) || imageMode_;
    applyImageMode(bit(0) && bit(1), now);
    const bool moved = vision_.moveFilter(bit(2), now, behaviour.darkWhileFilterMoves);
    if (!moved || !behaviour.darkWhileFilterMoves)
        return;
    stream_.hush();
    if (!hushed && !imageMode_)
        schedule({Task::What::send, stream_.idle(now)});
}

void Firmware::tellEye() {
    eye_.set({settings_.threshold, settings_.exposure, settings_.filterOut});
}

void Firmware::applyImageMode(bool wanted, Microseconds now) {
    if (!wanted) {
        endImageMode();
        return;
    }
    stream_.idleWithoutEnd(std::nullopt);
    if (std::exchange(imageMode_, true))
        schedule({Task::What::takePicture, {now + kAnswerDelay, ReportKind::picture, 0, {}}});
    else if (behaviour.penStopsInImageMode)
        stream_.hush();
}

void Firmware::endImageMode() {
    imageMode_ = false;
    stream_.idleWithoutEnd(std::nullopt);
    std::erase_if(tasks_, [](const Task& task) { return task.report.kind == ReportKind::picture; });
}

void Firmware::keepCalibration(const Command& command) {
    FlashRecord record;
    for (std::size_t value = 0; value < record.size(); ++value)
        record[value] = static_cast<std::uint16_t>(command[2 + 2 * value] | command[3 + 2 * value] << 8);
    flash.write(command[1], record, behaviour.recordsValidTogether);
}

void Firmware::answerRead(unsigned index, Microseconds now) {
    endImageMode();
    const ReportBytes reply = storedRecord(index);
    // The host throws the answer to its very first request away, so that an "N" ends the second one only.
    const bool last = reply[0] == 'N' ? readUnderWay_ : index == 2;
    readUnderWay_ = !last;
    lastQuietCommand_ = now;
    beQuiet(now + hook_.answerDelay() + (last ? kQuietTime : kReadPatience));
    answer(reply, 'H', now);
}

ReportBytes Firmware::storedRecord(unsigned index) const {
    const DeviceInformation& info = information;
    ReportBytes none{'N', 0, info.wireless, info.NX9Ver, info.cmosVer, info.GainValue, info.OPmode};
    if (index > 2 || !hook_.finds(index))
        return none;
    if (index == 2)
        return flash.calibrated()
                   ? ReportBytes{'Y',           2,           0,           info.GainValue, info.OPmode, 0, 0,
                                 info.wireless, info.NX9Ver, info.cmosVer}
                   : none;
    const auto record = flash.record(index);
    if (!record)
        return none;
    ReportBytes reply{'Y', static_cast<std::uint8_t>(index)};
    for (const std::uint16_t value : *record) {
        reply.push_back(static_cast<std::uint8_t>(value & 0xFF));
        reply.push_back(static_cast<std::uint8_t>(value >> 8));
    }
    return reply;
}

void Firmware::answerPairingRecord(unsigned index, Microseconds now) {
    lastQuietCommand_ = now;
    beQuiet(now + kQuietTime + hook_.answerDelay());
    const auto record = pairingTable.record(index);
    if (!record)
        return;
    ReportBytes reply{'R', static_cast<std::uint8_t>(index)};
    reply.insert(reply.end(), record->begin(), record->end());
    answer(std::move(reply), 'R', now);
}

void Firmware::keepPairingRecord(const Command& command, Microseconds now) {
    lastQuietCommand_ = now;
    beQuiet(now + kQuietTime + hook_.answerDelay());
    if (command[1] >= PairingTable::kRecords)
        return;
    PairingTable::Record record;
    std::copy_n(command.begin() + 2, record.size(), record.begin());
    pairingTable.store(command[1], record, behaviour.pairingRecordsFarOff);
    // The third byte keeps the reply from reading as a spot in range.
    answer({'S', command[1], 0x7F}, 'S', now);
}

// Time

void Firmware::beQuiet(Microseconds until) {
    if (!behaviour.quietAroundCommands)
        return;
    quietUntil_ = until;
    stream_.hush();
}

bool Firmware::quiet(Microseconds now) const {
    return behaviour.quietAroundCommands && now < quietUntil_;
}

void Firmware::schedule(Task task) {
    const auto after =
        std::upper_bound(tasks_.begin(), tasks_.end(), task.report.time,
                         [](Microseconds time, const Task& other) { return time < other.report.time; });
    tasks_.insert(after, std::move(task));
}

void Firmware::answer(ReportBytes bytes, std::uint8_t command, Microseconds now) {
    if (!hook_.answers())
        return;
    const Microseconds due = now + kAnswerDelay + hook_.answerDelay();
    schedule({Task::What::send, {due, ReportKind::answer, command, std::move(bytes)}});
}

std::optional<Microseconds> Firmware::nextIdle() const {
    const bool pictureToCome = imageMode_ && !stream_.idlesWithoutEnd();
    if (pictureToCome && behaviour.penStopsInImageMode)
        return std::nullopt;
    const auto due = stream_.nextIdle(behaviour);
    if (!due)
        return due;
    return behaviour.quietAroundCommands ? std::max(*due, quietUntil_) : *due;
}

Microseconds Firmware::nextEvent() const {
    if (!ready_.empty())
        return ready_.front().time;
    Microseconds earliest = nextFrame_;
    if (!tasks_.empty())
        earliest = std::min(earliest, tasks_.front().report.time);
    return std::min(earliest, nextIdle().value_or(earliest));
}

std::optional<UnitReport> Firmware::next(Microseconds now) {
    while (ready_.empty()) {
        const Microseconds time = nextEvent();
        if (time > now)
            return std::nullopt;
        if (!tasks_.empty() && tasks_.front().report.time == time) {
            const Task task = std::move(tasks_.front());
            tasks_.pop_front();
            perform(task);
        } else if (nextFrame_ == time) {
            nextFrame_ += PenStream::kFrame;
            lookAtFrame(time);
        } else {
            emit(stream_.idle(time));
        }
    }
    UnitReport report = std::move(ready_.front());
    ready_.pop_front();
    return report;
}

} // namespace lightpen
