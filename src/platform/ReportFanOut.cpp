// SPDX-License-Identifier: MIT
#include "platform/ReportFanOut.h"

#include <utility>

#include "platform/Log.h"

namespace lightpen {

ReportFanOut::ReportFanOut(Clock& clock, IOHIDElementCookie cookie, std::size_t declaredLength)
    : clock_(clock), cookie_(cookie), declaredLength_(declaredLength) {}

IOHIDQueueRef ReportFanOut::add(IOHIDQueueRef queue) {
    queue->join(fed_);
    return queue;
}

void ReportFanOut::deliver(std::span<const std::uint8_t> report) {
    const std::lock_guard hold(fed_->mutex);
    if (vanished_)
        return;
    if (report.size() > declaredLength_ && !std::exchange(cutLogged_, true))
        logLine("HID: an input report of %zu bytes is longer than the declared %zu; such reports are cut",
                report.size(), declaredLength_);
    deliverToAll(report);
}

void ReportFanOut::vanish() {
    const std::lock_guard hold(fed_->mutex);
    if (!std::exchange(vanished_, true))
        deliverToAll({});
}

bool ReportFanOut::vanished() const {
    const std::lock_guard hold(fed_->mutex);
    return vanished_;
}

void ReportFanOut::deliverToAll(std::span<const std::uint8_t> report) {
    const auto now = static_cast<std::uint64_t>(clock_.now().count());
    for (IOHIDQueueInterface* const queue : fed_->queues)
        if (IOHIDEventStruct* const room = queue->roomFor(cookie_)) {
            writeInputReportEvent(*room, cookie_, report, declaredLength_, now);
            queue->reportTaken();
        }
}

} // namespace lightpen
