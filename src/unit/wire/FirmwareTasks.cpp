// SPDX-License-Identifier: MIT
// What the firmware does when its time has come: sending, the light test, pictures.
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

void Firmware::perform(const Task& task) {
    const Microseconds now = task.report.time;
    if (task.what == Task::What::send) {
        emit(task.report);
        return;
    }
    if (!hook_.answers())
        return;
    if (task.what == Task::What::testLight) {
        const unsigned replies = eye_.foreignLight(now) ? kLightReplies : 0;
        for (unsigned reply = 1; reply <= replies; ++reply)
            schedule({Task::What::send, {now + reply * kLightReplyPeriod, ReportKind::answer, 'K', {'s'}}});
        return;
    }
    // A camera takes no picture while its filter moves.
    if (vision_.moving(now)) {
        schedule({Task::What::takePicture, {vision_.settledAt(), ReportKind::picture, 0, {}}});
        return;
    }
    Picture picture = eye_.picture(now);
    fillLeftColumn(picture, behaviour.blackLeftColumn);
    Microseconds due = now;
    for (unsigned index = 0; index < kPictureReports; ++index, due += kPictureReportPeriod)
        schedule(
            {Task::What::send, {due, ReportKind::picture, 0, pictureReport(picture, index, reportLength_)}});
    if (behaviour.idleAfterPicture)
        stream_.idleWithoutEnd(due - kPictureReportPeriod + kPauseAfterPicture);
}

void Firmware::lookAtFrame(Microseconds now) {
    const auto spot = vision_.look(eye_.look(now), now, behaviour);
    stream_.see(spot.has_value());
    if (quiet(now) || (imageMode_ && behaviour.penStopsInImageMode))
        return;
    if (auto report = stream_.frame(now, spot, behaviour))
        emit(std::move(*report));
}

void Firmware::emit(UnitReport report) {
    report.bytes.resize(reportLength_);
    if (auto before = hook_.sends(report))
        ready_.push_back(std::move(*before));
    ready_.push_back(std::move(report));
}

} // namespace lightpen
