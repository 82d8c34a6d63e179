// SPDX-License-Identifier: MIT
// The unit's flash: erasing and writing it, and reading the stored calibration and the device information.
//
//   host                      unit
//   "H" 0                 ->
//                         <-  any report: its length is the length of all later commands
//   "H" k                 ->                                        k = 0, 1, 2
//                         <-  "Y" two points (k = 2: information), or "N" information: the end
//   "W" "W"               ->  if the operating mode is not 0
//   "T"                   ->  if the unit is wireless
#include "device/EventGeneratorNX7.h"

#include <algorithm>
#include <array>

#include "device/Exchange.h"
#include "device/SharedState.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr Microseconds kErasePause = seconds(2);
constexpr Microseconds kRecordPause = milliseconds(10); // the pacing that the unit's flash needs
constexpr std::array<std::size_t, 4> kCalibrationSizes{4, 9, 25, 80};

constexpr std::uint32_t kReplyQueueDepth = 100;
constexpr int kRecords = 3;
constexpr Microseconds kRequestPause = milliseconds(100);
constexpr Microseconds kFirstReplyPause = milliseconds(200);
constexpr std::int32_t kFlashReadExposure = 23;
constexpr std::int32_t kFlashReadThreshold = 512;

// True for a command that was sent; else a line of the log, by its number.
bool wasSent(IOReturn sent, int line) {
    if (sent != kIOReturnSuccess)
        logLine("Event n:%d read flash with address:0x%x failed", line, 0);
    return sent == kIOReturnSuccess;
}

PointPair pairOf(const RecordPoints& record) {
    return {{static_cast<double>(record.x1), static_cast<double>(record.y1)},
            {static_cast<double>(record.x2), static_cast<double>(record.y2)}};
}

void takeStoredRecord(int index, const ReportBuffer& reply, PointList& points) {
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

void storeInformation(const UnitInformation& information) {
    sharedState.wireless = information.wireless;
    sharedState.NX9Ver = information.NX9Ver;
    sharedState.cmosVer = information.cmosVer;
    sharedState.GainValue = information.GainValue;
    sharedState.OPmode = information.OPmode;
}

} // namespace

// Erasing and writing

void EventGeneratorNX7::eraseFlashAddress() {
    putIntoOutputBuffer(sharedState.emptyCommand());
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
        ReportBuffer command = sharedState.emptyCommand();
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

// Reading

void EventGeneratorNX7::openCalibrationQueue() {
    const auto device = _pphidDeviceInterface.load();
    if (_calibrationQueue || !device)
        return;
    _calibrationQueue = device->allocQueue();
    if (!_calibrationQueue)
        return;
    addReportElement(_calibrationQueue.get(), _calibrationQueue->create(0, kReplyQueueDepth));
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
    ReportBuffer command = sharedState.emptyCommand();
    command[0] = letter;
    command[1] = second;
    putIntoOutputBuffer(command);
    return doFlashCommandFromOutputBuffer();
}

ReplyQueue EventGeneratorNX7::flashReplies() const {
    const auto logFailure = [](unsigned code) {
        logLine("Event n:940 error when get calibration points from flash, %x", code);
    };
    return {_calibrationQueue, logFailure, ReplyQueue::kUntilItComes};
}

int EventGeneratorNX7::getSingleReportFromFlash(ReportBuffer& buffer) {
    auto reply = flashReplies().next();
    if (!reply)
        return 0;
    buffer = std::move(reply->longValue);
    return static_cast<int>(reply->longValueSize);
}

// Asks for a record until `take` has its answer. False when a request could not be sent, or the program ends.
template <class Take>
bool EventGeneratorNX7::readRecord(int index, int failureLine, Microseconds pause, Take take) {
    const auto ask = [&] {
        // A start begins empty: what a lit pen or stray light has sent meanwhile must not pass for the
        // answer.
        if (_calibrationQueue)
            _calibrationQueue->start();
        const IOReturn sent = sendFlashCommand(kReadRecordCommand, static_cast<std::uint8_t>(index));
        return wasSent(sent, failureLine) ? Turn::goOn : Turn::over;
    };
    return exchange(flashReplies(), pause, ask, [&](const std::optional<IOHIDEventStruct>& reply) {
        return reply ? take(*reply) : Turn::over;
    });
}

bool EventGeneratorNX7::readReportLength() {
    Platform::current().clock.sleep(kRequestPause);
    return readRecord(0, 827, kFirstReplyPause, [](const IOHIDEventStruct& reply) {
        sharedState.reportCopyLength = static_cast<int>(reply.longValueSize);
        sharedState.reportSize = static_cast<std::uint8_t>(reply.longValueSize & 0xFF);
        return Turn::goOn;
    });
}

// A reply that is neither "Y" nor "N" asks again.
bool EventGeneratorNX7::readRecords(PointList& points) {
    bool more = true;
    for (int index = 0; more && index < kRecords; ++index) {
        const auto take = [&](const IOHIDEventStruct& event) {
            const ReportBuffer& reply = event.longValue;
            more = reply[0] != kNoRecordReply;
            if (!more) {
                storeInformation(informationFromNoRecord(reply));
                return Turn::goOn;
            }
            if (reply[0] != kStoredRecordReply)
                return Turn::askAgain;
            takeStoredRecord(index, reply, points);
            logLine("Event n:977 helloColl:%d", index + 1);
            if (index + 1 == kRecords)
                storeInformation(informationFromLastRecord(reply));
            return Turn::goOn;
        };
        if (!readRecord(index, 1071, kRequestPause, take))
            return false;
    }
    return true;
}

PointListRef EventGeneratorNX7::_calibrationPointsFromFlash() {
    PointList points;
    logLine("Event n:903");
    openCalibrationQueue();
    logLine("Event n:914");
    setForcedExposure(kFlashReadExposure);
    setThreshold(kFlashReadThreshold);
    if (!readReportLength() || !readRecords(points))
        return nullptr;
    if (sharedState.OPmode != 0 &&
        !wasSent(sendFlashCommand(kOperatingModeCommand, kOperatingModeCommand), 1196))
        return nullptr;
    logLine("Event n:1187 NX9Ver:0x%x,wireless:0x%x,cmosVer:0x%x,GainValue:0x%x,OPmode:0x%x",
            static_cast<unsigned>(sharedState.NX9Ver), static_cast<unsigned>(sharedState.wireless),
            static_cast<unsigned>(sharedState.cmosVer), static_cast<unsigned>(sharedState.GainValue),
            static_cast<unsigned>(sharedState.OPmode));
    if (sharedState.wireless != 0 && !wasSent(sendFlashCommand(kWirelessCommand, 0), 1110))
        return nullptr;
    closeCalibrationQueue();
    return std::make_shared<const PointList>(std::move(points));
}

int EventGeneratorNX7::cmosVerFromFlash() const {
    return sharedState.cmosVer;
}

int EventGeneratorNX7::venerPointsFromFlash() const {
    return sharedState.NX9Ver;
}

int EventGeneratorNX7::wirelessPointsFromFlash() {
    return sharedState.wireless;
}

} // namespace lightpen
