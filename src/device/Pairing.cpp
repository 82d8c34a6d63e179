// SPDX-License-Identifier: MIT
// The pairing table between the unit and its data file.
//
//   host                          unit
//   "R" i                     ->
//                             <-  "R" i and record i            saving, i = 0 to 13
//   "S" i and record i        ->
//                             <-  "S"                           sending
#include "device/EventGeneratorNX7.h"

#include <algorithm>
#include <array>

#include "device/PairingRecords.h"
#include "device/SharedState.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;

constexpr std::uint32_t kPairingQueueDepth = 1;
constexpr Microseconds kReplyPause = milliseconds(100);
constexpr std::size_t kPrintedReplyBytes = 10;

void printReplyByte(int index, std::size_t position, std::uint8_t byte) {
    printText("Event n:2941 indexNumber:%d j %d : %x \n", index, static_cast<int>(position), byte);
}

// Appends the record of a reply to the table and prints the reply.
void takePairingReply(std::span<const std::uint8_t> reply, bool answers, int index, ReportBuffer& table) {
    for (std::size_t position = 0; position < kPrintedReplyBytes; ++position) {
        const std::uint8_t byte = reply[position];
        if (!answers || position < kPairingRecordOffset) {
            printReplyByte(index, position, byte);
            continue;
        }
        printText("Event n:2937 daCont:%d j %d : %x DataArray[%x]\n", static_cast<int>(table.size()),
                  static_cast<int>(position), byte, byte);
        table.push_back(byte);
    }
}

void printRecord(std::span<const std::uint8_t> command) {
    for (std::size_t i = 0; i < kPairingRecordBytes; ++i) {
        const std::size_t position = kPairingRecordOffset + i;
        printText("Event n:2661 (%x , %x) , (%d , %x)\n", command[0], command[1], static_cast<int>(position),
                  command[position]);
    }
}

// The pairing data file's front, zeros where it has none.
ReportBuffer readPairingFile() {
    const DataFiles& files = Platform::current().dataFiles;
    const auto paths = files.locate(kPairingFileName);
    const auto bytes = paths ? files.read(paths->toRead, kPairingFileLimit) : std::nullopt;
    if (!bytes)
        logLine("Event n:2644 Error");
    logLine("Event n:2764 file:%s", paths ? paths->toRead.c_str() : "(null)");
    ReportBuffer file = bytes.value_or(ReportBuffer());
    file.resize(kPairingFileLimit);
    return file;
}

void savePairingFile(const ReportBuffer& table) {
    const DataFiles& files = Platform::current().dataFiles;
    const auto paths = files.locate(kPairingFileName);
    logLine("Event n:2749 file:%s", paths ? paths->toWrite.c_str() : "(null)");
    if (!paths || !files.replace(paths->toWrite, table))
        logLine("Event n:2755 Error");
}

} // namespace

IOHIDQueueRef EventGeneratorNX7::startedPairingQueue(PairingDirection direction) {
    const bool saving = direction == PairingDirection::saving;
    SharedReference<IOHIDQueueInterface>& queue = saving ? _RetPairingData : _PairingData;
    IOHIDQueueRef running = queue;
    if (running) {
        logLine(saving ? "Event n:2687 alloc points queue failed" : "Event n:2780 alloc points queue failed");
    } else {
        if (const auto device = _pphidDeviceInterface.load())
            running = device->allocQueue();
        queue = running;
        IOReturn result = running ? running->create(0, kPairingQueueDepth) : kIOReturnNoDevice;
        const IOHIDElementCookie cookie = inputReportElementCookieFromReportID(0);
        if (running && !running->hasElement(cookie))
            result = running->addElement(cookie, 0);
        logLine(saving ? "Event n:2696 result:%d" : "Event n:2789 result:%d", result);
    }
    if (running)
        running->start();
    return running;
}

// An exchange waits for a unit that is there, however long that is silent. It is over when that unit has
// gone, even if another one is there, and when the program ends.
bool EventGeneratorNX7::pairingEnds(IOReturn sent, const IOHIDDeviceInterfaceRef& device) const {
    return sent == kIOReturnNoDevice || !device || _pphidDeviceInterface.load() != device ||
           Platform::current().runLoop.terminating();
}

// Saving

// One request and its reply; a value once the exchange is over: whether the record has come.
std::optional<bool> EventGeneratorNX7::requestPairingRecord(std::uint32_t IDCode, int index,
                                                            ReportBuffer& table) {
    const auto device = _pphidDeviceInterface.load();
    const auto letter = static_cast<std::uint8_t>(IDCode & 0xFF);
    const IOReturn sent = sendFlashCommand(letter, static_cast<std::uint8_t>(index));
    printText("Event n:2897 ID_code:%x indexValue %d\n", IDCode, index);
    if (sent != kIOReturnSuccess)
        logLine("Event n:2915 erase flash with ID_code:0x%x failed", IDCode);
    if (pairingEnds(sent, device))
        return false;
    if (sent != kIOReturnSuccess)
        return std::nullopt;
    Platform::current().clock.sleep(kReplyPause);
    const IOHIDQueueRef queue = _RetPairingData;
    IOHIDEventStruct event;
    const IOReturn result = queue ? queue->getNextEvent(event, 0, 0) : kIOReturnUnderrun;
    if (result == kIOReturnSuccess) {
        const bool answers = answersPairingRequest(event.longValue, letter, index);
        takePairingReply(event.longValue, answers, index, table);
        if (answers)
            return true;
    } else if (result != kIOReturnUnderrun) {
        logLine("Event n:2927 error : %x", static_cast<unsigned>(result));
    }
    return std::nullopt;
}

void EventGeneratorNX7::Nx9commd(std::uint32_t IDCode) {
    startedPairingQueue(PairingDirection::saving);
    ReportBuffer table;
    bool complete = true;
    for (int index = 0; complete && index < kPairingRecords; ++index) {
        std::optional<bool> came;
        while (!came)
            came = requestPairingRecord(IDCode, index, table);
        complete = *came;
    }
    if (complete)
        savePairingFile(table);
    else
        logLine("Pairing: the table could not be read whole; the file stays as it is");
    _RetPairingData = nullptr;
}

// Sending

// True once the unit has confirmed the record, false when the exchange is over.
bool EventGeneratorNX7::sendPairingRecord(const ReportBuffer& command, IOHIDQueueInterface* queue) {
    const auto device = _pphidDeviceInterface.load();
    for (;;) {
        putIntoOutputBuffer(command);
        const IOReturn sent = doFlashCommandFromOutputBuffer();
        if (pairingEnds(sent, device))
            return false;
        Platform::current().clock.sleep(kReplyPause);
        IOHIDEventStruct event;
        event.longValue.resize(kReadableReportBytes);
        const IOReturn result = queue ? queue->getNextEvent(event, 0, 0) : kIOReturnUnderrun;
        if (result != kIOReturnSuccess && result != kIOReturnUnderrun)
            logLine("Event n:2817 error when get calibration points from flash, %x",
                    static_cast<unsigned>(result));
        printText("Event n:2790 (%x , %d)\n", event.longValue[0], event.longValue[1]);
        if (event.longValue[0] == kStorePairingCommand)
            return true;
    }
}

void EventGeneratorNX7::Nx9inPairing() {
    const ReportBuffer file = readPairingFile();
    const IOHIDQueueRef queue = startedPairingQueue(PairingDirection::sending);
    for (int index = 0; index < kPairingRecords; ++index) {
        ReportBuffer command = scratchBuffer(sharedState.reportSize, sharedState.reportCopyLength);
        writePairingRecord(command, index, file);
        printRecord(command);
        if (!sendPairingRecord(command, queue.get())) {
            logLine("Pairing: the table could not be sent whole; %d of its records were", index);
            return;
        }
    }
}

} // namespace lightpen
