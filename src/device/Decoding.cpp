// SPDX-License-Identifier: MIT
#include "device/EventGeneratorNX7.h"

#include "device/SharedState.h"
#include "platform/Log.h"

namespace lightpen {

CameraPoint EventGeneratorNX7::pointFromHIDEvent(const IOHIDEventStruct& event) {
    sharedState.decodedReportCount = sharedState.decodedReportCount + 1;
    const PenReport report = readPenReport(event.longValue);
    if (sharedState.checkViewState == 2 && sharedState.checkViewSubState == 1)
        return {static_cast<double>(report.x), static_cast<double>(report.y)};
    if (sharedState.checkViewSubState != 0)
        return {};
    if (report.lightSpot)
        logLine("Event n:1505 ( %d, %d)", static_cast<std::int16_t>(report.x),
                static_cast<std::int16_t>(report.y));
    else
        logLine("Event n:1537 ( %d, %d)", 0, 0);
    return pointInCameraRange(report);
}

} // namespace lightpen
