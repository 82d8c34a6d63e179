// SPDX-License-Identifier: MIT
#include "platform/ReportFanOut.h"

#include <utility>

#include "platform/Log.h"

namespace lightpen {

ReportFanOut::ReportFanOut(Clock& clock, IOHIDElementCookie cookie, std::size_t declaredLength)
    : clock_(clock), cookie_(cookie), declaredLength_(declaredLength) {}

IOHIDQueueRef ReportFanOut::add(IOHIDQueueRef queue) {
    const std::lock_guard hold(mutex_);
    std::erase_if(queues_, [](const auto& weak) { return weak.expired(); });
    queues_.push_back(queue);
    return queue;
}

void ReportFanOut::deliver(std::span<const std::uint8_t> report) {
    const std::lock_guard hold(mutex_);
    if (vanished_)
        return;
    if (report.size() > declaredLength_ && !std::exchange(cutLogged_, true))
        logLine("HID: an input report of %zu bytes is longer than the declared %zu; such reports are cut",
                report.size(), declaredLength_);
    deliverToAll(report);
}

void ReportFanOut::vanish() {
    const std::lock_guard hold(mutex_);
    if (!std::exchange(vanished_, true))
        deliverToAll({});
}

bool ReportFanOut::vanished() const {
    const std::lock_guard hold(mutex_);
    return vanished_;
}

void ReportFanOut::deliverToAll(std::span<const std::uint8_t> report) {
    const auto now = static_cast<std::uint64_t>(clock_.now().count());
    const IOHIDEventStruct event = inputReportEvent(cookie_, report, declaredLength_, now);
    for (const auto& weak : queues_)
        if (const auto queue = weak.lock())
            queue->push(event);
}

} // namespace lightpen
