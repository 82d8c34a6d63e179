// SPDX-License-Identifier: MIT
// Erasing and writing the unit's flash, and what is known of its contents.
#include "device/EventGeneratorNX7.h"

#include <algorithm>
#include <array>

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr Microseconds kErasePause = seconds(2);
constexpr Microseconds kRecordPause = milliseconds(10); // the pacing that the unit's flash needs

constexpr std::array<std::size_t, 4> kCalibrationSizes{4, 9, 25, 80};

} // namespace

void EventGeneratorNX7::eraseFlashAddress() {
    putIntoOutputBuffer(scratchBuffer(sharedState.reportSize, sharedState.reportCopyLength));
    const IOReturn result = doFlashCommandFromOutputBuffer();
    logLine("Event n:794 erasing flash, please wait for 2sec....");
    Platform::current().clock.sleep(kErasePause);
    if (result != kIOReturnSuccess)
        logLine("Event n:798 erase flash with address:0x%x failed", 0);
}

bool EventGeneratorNX7::writeCalibrationToFlash(const PointListRef& points) {
    const std::size_t count = points ? points->size() : 0;
    if (std::find(kCalibrationSizes.begin(), kCalibrationSizes.end(), count) == kCalibrationSizes.end()) {
        logLine("Event n:809 error when writeCalibrationToFlash: points count is not 4,9,25");
        return false;
    }
    const std::string text = describe(points);
    // A record for each point but the last; only the first two carry any, and the unit keeps no more.
    for (int index = 0; index < static_cast<int>(count) - 1; ++index) {
        ReportBuffer command = scratchBuffer(sharedState.reportSize, sharedState.reportCopyLength);
        writeCalibrationRecord(command, index, *points);
        const RecordPoints record = readRecordPoints(command);
        logLine("Event n:874 %s, %d(%d,%d)(%d,%d), point left: %d", text.c_str(), index, record.x1, record.y1,
                record.x2, record.y2, static_cast<int>(count));
        putIntoOutputBuffer(command);
        const IOReturn result = doCommandFromOutputBuffer();
        Platform::current().clock.sleep(kRecordPause);
        if (result != kIOReturnSuccess)
            return false;
    }
    // From now on this is what the flash holds: a later settings update must not write the calibration before
    // it, nor a cancelled session bring that one back.
    _calibrationPoints = points;
    return true;
}

int EventGeneratorNX7::cmosVerFromFlash() const {
    return sharedState.cmosVer;
}

int EventGeneratorNX7::venerPointsFromFlash() const {
    return sharedState.NX9Ver;
}

int EventGeneratorNX7::wirelessPointsFromFlash() const {
    return sharedState.wireless;
}

void EventGeneratorNX7::getAddressIndex(int, int, int) {}

void EventGeneratorNX7::stopUSBStorageMode() {}

} // namespace lightpen
