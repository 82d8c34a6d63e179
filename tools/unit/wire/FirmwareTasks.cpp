// SPDX-License-Identifier: MIT
// What the firmware does when its time has come: sending, the light test, pictures.
#include <random>
#include <utility>

#include "unit/wire/Firmware.h"
#include "unit/wire/Picture.h"

namespace lightpen {

namespace {

constexpr unsigned kLightReplies = 12;
constexpr Microseconds kLightReplyPeriod{3'000};
constexpr Microseconds kPictureReportPeriod{4'000};
constexpr Microseconds kPauseAfterPicture{8'000};

} // namespace

void Firmware::perform(const Task& task, Eye& eye) {
    const Microseconds now = task.report.time;
    if (task.what == Task::What::send) {
        emit(task.report);
        return;
    }
    if (faults.silent)
        return;
    const Scene seen = eye.look(now);
    if (task.what == Task::What::testLight) {
        for (unsigned reply = 1; seen.strayLight && reply <= kLightReplies; ++reply)
            schedule({Task::What::send, {now + reply * kLightReplyPeriod, ReportKind::answer, 'K', {'s'}}});
        return;
    }
    // A camera takes no picture while its filter moves.
    if (vision_.moving(now)) {
        schedule({Task::What::takePicture, {vision_.settledAt(), ReportKind::picture, 0, {}}});
        return;
    }
    const Picture picture = takePicture(seen, vision_.filterOut(), behaviour.blackLeftColumn);
    Microseconds due = now;
    for (unsigned index = 0; index < kPictureReports; ++index, due += kPictureReportPeriod)
        schedule(
            {Task::What::send, {due, ReportKind::picture, 0, pictureReport(picture, index, reportLength_)}});
    if (behaviour.idleAfterPicture)
        stream_.idleWithoutEnd(due - kPictureReportPeriod + kPauseAfterPicture);
}

void Firmware::lookAtFrame(Microseconds now, Eye& eye) {
    const auto spot = vision_.look(eye.look(now), now, behaviour);
    stream_.see(spot.has_value());
    if (quiet(now) || (imageMode_ && behaviour.penStopsInImageMode))
        return;
    if (auto report = stream_.frame(now, spot, behaviour))
        emit(std::move(*report));
}

void Firmware::emit(UnitReport report) {
    report.bytes.resize(faults.sentLength.value_or(reportLength_));
    if (faults.garbageEvery != 0 && ++sentReports_ % faults.garbageEvery == 0)
        ready_.push_back({report.time, ReportKind::garbage, 0, garbage()});
    ready_.push_back(std::move(report));
}

ReportBytes Firmware::garbage() const {
    std::mt19937_64 random(faults.garbageSeed + sentReports_);
    ReportBytes bytes(random() % (2 * reportLength_ + 1));
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random() & 0xFF);
    return bytes;
}

} // namespace lightpen
