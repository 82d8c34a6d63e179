// SPDX-License-Identifier: MIT
// Reading the unit's flash: the stored calibration and the device information.
//
//   host                      unit
//   "H" 0                 ->
//                         <-  any report: its length is the length of all later commands
//   "H" k                 ->                                        k = 0, 1, 2
//                         <-  "Y" two points (k = 2: information), or "N" information: the end
//   "W" "W"               ->  if the operating mode is not 0
//   "T"                   ->  if the unit is wireless
#include "device/EventGeneratorNX7.h"

#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;

constexpr std::uint32_t kReplyQueueDepth = 100;
constexpr int kRecords = 3;
constexpr Microseconds kRequestPause = milliseconds(100);
constexpr Microseconds kFirstReplyPause = milliseconds(200);
constexpr std::int32_t kFlashReadExposure = 23;
constexpr std::int32_t kFlashReadThreshold = 512;

PointPair pairOf(const RecordPoints& record) {
    return {{static_cast<double>(record.x1), static_cast<double>(record.y1)},
            {static_cast<double>(record.x2), static_cast<double>(record.y2)}};
}

void storeInformation(const UnitInformation& information) {
    sharedState.wireless = information.wireless;
    sharedState.NX9Ver = information.NX9Ver;
    sharedState.cmosVer = information.cmosVer;
    sharedState.GainValue = information.GainValue;
    sharedState.OPmode = information.OPmode;
}

} // namespace

void EventGeneratorNX7::openCalibrationQueue() {
    const auto device = _pphidDeviceInterface.load();
    if (_calibrationQueue || !device)
        return;
    _calibrationQueue = device->allocQueue();
    if (!_calibrationQueue)
        return;
    _calibrationQueue->create(0, kReplyQueueDepth);
    addReportElement(*_calibrationQueue);
    _calibrationQueue->start();
}

void EventGeneratorNX7::closeCalibrationQueue() {
    if (_calibrationQueue) {
        _calibrationQueue->stop();
        _calibrationQueue->dispose();
    }
    _calibrationQueue = nullptr;
}

IOReturn EventGeneratorNX7::sendFlashCommand(std::uint8_t letter, std::uint8_t second) {
    ReportBuffer command = scratchBuffer(sharedState.reportSize, sharedState.reportCopyLength);
    command[0] = letter;
    command[1] = second;
    putIntoOutputBuffer(command);
    return doFlashCommandFromOutputBuffer();
}

IOReturn EventGeneratorNX7::requestRecord(int index) {
    // A start begins empty: what a lit pen or stray light has sent meanwhile must not pass for the answer.
    if (_calibrationQueue)
        _calibrationQueue->start();
    return sendFlashCommand(kReadRecordCommand, static_cast<std::uint8_t>(index));
}

int EventGeneratorNX7::getSingleReportFromFlash(ReportBuffer& buffer) {
    const IOHIDQueueRef queue = _calibrationQueue;
    IOHIDEventStruct event;
    while (queue && !Platform::current().runLoop.terminating()) {
        const IOReturn result = queue->getNextEvent(event, 0, 0);
        if (result == kIOReturnSuccess) {
            buffer = std::move(event.longValue);
            return static_cast<int>(event.longValueSize);
        }
        if (result != kIOReturnUnderrun)
            logLine("Event n:940 error when get calibration points from flash, %x",
                    static_cast<unsigned>(result));
    }
    return 0;
}

bool EventGeneratorNX7::readReportLength() {
    Clock& clock = Platform::current().clock;
    clock.sleep(kRequestPause);
    if (requestRecord(0) != kIOReturnSuccess) {
        logLine("Event n:827 read flash with address:0x%x failed", 0);
        return false;
    }
    clock.sleep(kFirstReplyPause);
    ReportBuffer reply;
    const int length = getSingleReportFromFlash(reply);
    if (reply.empty())
        return false; // the program ends
    sharedState.reportCopyLength = length;
    sharedState.reportSize = static_cast<std::uint8_t>(length & 0xFF);
    return true;
}

void EventGeneratorNX7::takeStoredRecord(int index, const ReportBuffer& reply, PointList& points) {
    const RecordPoints record = readRecordPoints(reply);
    logLine("Event n:1084 helloColl :%d (%d , %d) , (%d , %d)", index, record.x1, record.y1, record.x2,
            record.y2);
    const PointPair pair = pairOf(record);
    if (index == 0)
        sharedState.firstRecordPoints = pair;
    else if (index == 1)
        sharedState.secondRecordPoints = pair;
    points.push_back(pair.first);
    points.push_back(pair.second);
}

// False when a request could not be sent, or the program ends. A reply that is neither "Y" nor "N" asks
// again.
bool EventGeneratorNX7::readRecords(PointList& points) {
    for (int index = 0; index < kRecords;) {
        if (requestRecord(index) != kIOReturnSuccess) {
            logLine("Event n:1071 read flash with address:0x%x failed", 0);
            return false;
        }
        Platform::current().clock.sleep(kRequestPause);
        ReportBuffer reply;
        getSingleReportFromFlash(reply);
        if (reply.empty())
            return false;
        if (reply[0] == kNoRecordReply) {
            storeInformation(informationFromNoRecord(reply));
            return true;
        }
        if (reply[0] != kStoredRecordReply)
            continue;
        takeStoredRecord(index, reply, points);
        ++index;
        logLine("Event n:977 helloColl:%d", index);
        if (index == kRecords)
            storeInformation(informationFromLastRecord(reply));
    }
    return true;
}

bool EventGeneratorNX7::acknowledgeOperatingMode() {
    if (sharedState.OPmode == 0 ||
        sendFlashCommand(kOperatingModeCommand, kOperatingModeCommand) == kIOReturnSuccess)
        return true;
    logLine("Event n:1196 read flash with address:0x%x failed", 0);
    return false;
}

PointListRef EventGeneratorNX7::_calibrationPointsFromFlash() {
    PointList points;
    logLine("Event n:903");
    openCalibrationQueue();
    logLine("Event n:914");
    setForcedExposure(kFlashReadExposure);
    setThreshold(kFlashReadThreshold);
    if (!readReportLength() || !readRecords(points) || !acknowledgeOperatingMode())
        return nullptr;
    logLine("Event n:1187 NX9Ver:0x%x,wireless:0x%x,cmosVer:0x%x,GainValue:0x%x,OPmode:0x%x",
            static_cast<unsigned>(sharedState.NX9Ver), static_cast<unsigned>(sharedState.wireless),
            static_cast<unsigned>(sharedState.cmosVer), static_cast<unsigned>(sharedState.GainValue),
            static_cast<unsigned>(sharedState.OPmode));
    if (sharedState.wireless != 0 && sendFlashCommand(kWirelessCommand, 0) != kIOReturnSuccess) {
        logLine("Event n:1110 read flash with address:0x%x failed", 0);
        return nullptr;
    }
    closeCalibrationQueue();
    return std::make_shared<const PointList>(std::move(points));
}

} // namespace lightpen
