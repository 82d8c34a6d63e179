// SPDX-License-Identifier: MIT
// The light test: whether the camera sees light that is not the pen's.
#include "device/EventGeneratorNX7.h"

#include <algorithm>

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr int kPolls = 50;
constexpr Microseconds kPollPeriod = std::chrono::milliseconds(1);
constexpr int kAttempts = 10; // to find a reply at each poll

} // namespace

std::uint8_t EventGeneratorNX7::getLightDetecting(ReportBuffer& buffer) {
    const IOHIDQueueRef queue = _calibrationQueue;
    IOHIDEventStruct event;
    for (int attempt = 0; queue && attempt < kAttempts; ++attempt) {
        const IOReturn result = queue->getNextEvent(event, 0, 0);
        if (result == kIOReturnSuccess) {
            const std::uint8_t first = event.longValue[0];
            for (unsigned i = 0; i < 2; ++i)
                printText("Event n:1022 event.longValue %d : 0x%x :0x%x\n", static_cast<int>(i),
                          event.longValue[i], first);
            buffer = std::move(event.longValue);
            return first;
        }
        if (result != kIOReturnUnderrun)
            logLine("Event n:1013 error when get calibration points from flash, %x",
                    static_cast<unsigned>(result));
    }
    return 0;
}

int EventGeneratorNX7::StrayLightDetecting() {
    openCalibrationQueue();
    if (sendFlashCommand(kLightTestCommand, 0) != kIOReturnSuccess)
        logLine("Event n:1034");
    int sightings = 0;
    for (int poll = 0; poll < kPolls; ++poll) {
        Platform::current().clock.sleep(kPollPeriod);
        ReportBuffer reply;
        if (getLightDetecting(reply) == kStrayLightReply)
            ++sightings;
    }
    return sightings;
}

} // namespace lightpen
