// SPDX-License-Identifier: MIT
// The pairing table between the unit and its data file, and the window whose keys ask for it.
//
//   host                          unit
//   "R" i                     ->
//                             <-  "R" i and record i            saving, i = 0 to 13
//   "S" i and record i        ->
//                             <-  "S"                           sending
#include "device/EventGeneratorNX7.h"

#include <algorithm>

#include "device/Exchange.h"
#include "device/PairingKeyWindow.h"
#include "device/SharedState.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;

constexpr std::uint32_t kPairingQueueDepth = 1;
constexpr std::size_t kTableBytes = kPairingRecords * kPairingRecordBytes;
constexpr Microseconds kReplyPause = milliseconds(100);
constexpr std::size_t kPrintedReplyBytes = 10;
constexpr Microseconds kKeyWindowPause = milliseconds(10);

// Appends the record of a reply to the table and prints the reply.
void takePairingReply(std::span<const std::uint8_t> reply, bool answers, int index, ReportBuffer& table) {
    for (std::size_t position = 0; position < kPrintedReplyBytes; ++position) {
        const std::uint8_t byte = reply[position];
        if (!answers || position < kPairingRecordOffset) {
            printText("Event n:2941 indexNumber:%d j %d : %x \n", index, static_cast<int>(position), byte);
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

// The front of the pairing data file, filled up with zeros.
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

// The file that comes with the program is all zeros. Sent to a unit, it would untie every pen.
bool pairingFileWasNeverRead() {
    const DataFiles& files = Platform::current().dataFiles;
    const auto paths = files.locate(kPairingFileName);
    const auto bytes = paths ? files.read(paths->toRead, kPairingFileLimit) : std::nullopt;
    if (!bytes)
        return false;
    const auto table = std::span(*bytes).first(std::min(bytes->size(), kTableBytes));
    return std::ranges::all_of(table, [](std::uint8_t byte) { return byte == 0; });
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
        logLine(saving ? LogFormat<>("Event n:2687 alloc points queue failed")
                       : LogFormat<>("Event n:2780 alloc points queue failed"));
    } else {
        if (const auto device = _pphidDeviceInterface.load())
            running = device->allocQueue();
        queue = running;
        const IOReturn created = running ? running->create(0, kPairingQueueDepth) : kIOReturnNoDevice;
        const IOReturn result = addReportElement(running.get(), created);
        logLine(saving ? LogFormat<IOReturn>("Event n:2696 result:%d")
                       : LogFormat<IOReturn>("Event n:2789 result:%d"),
                result);
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

// Asks for one record until it has come. False when the exchange is over without it.
bool EventGeneratorNX7::readPairingRecord(std::uint32_t IDCode, int index, const IOHIDQueueRef& queue,
                                          ReportBuffer& table) {
    const auto letter = static_cast<std::uint8_t>(IDCode & 0xFF);
    const auto ask = [&] {
        const auto device = _pphidDeviceInterface.load();
        const IOReturn sent = sendFlashCommand(letter, static_cast<std::uint8_t>(index));
        printText("Event n:2897 ID_code:%x indexValue %d\n", IDCode, index);
        if (sent != kIOReturnSuccess)
            logLine("Event n:2915 erase flash with ID_code:0x%x failed", IDCode);
        if (pairingEnds(sent, device))
            return Turn::over;
        return sent == kIOReturnSuccess ? Turn::goOn : Turn::askAgain;
    };
    const auto take = [&](const std::optional<IOHIDEventStruct>& reply) {
        if (!reply)
            return Turn::askAgain;
        const bool answers = answersPairingRequest(reply->longValue, letter, index);
        takePairingReply(reply->longValue, answers, index, table);
        return answers ? Turn::goOn : Turn::askAgain;
    };
    const auto logFailure = [](unsigned code) { logLine("Event n:2927 error : %x", code); };
    return exchange({queue, logFailure, 1}, kReplyPause, ask, take);
}

void EventGeneratorNX7::Nx9commd(std::uint32_t IDCode) {
    const IOHIDQueueRef queue = startedPairingQueue(PairingDirection::saving);
    ReportBuffer table;
    bool complete = true;
    for (int index = 0; complete && index < kPairingRecords; ++index)
        complete = readPairingRecord(IDCode, index, queue, table);
    if (complete)
        savePairingFile(table);
    else
        logLine("Pairing: the table could not be read whole; the file stays as it is");
    _RetPairingData = nullptr;
}

// Sending

// Sends one record until the unit has confirmed it. False when the exchange is over before that.
bool EventGeneratorNX7::sendPairingRecord(const ReportBuffer& command, const IOHIDQueueRef& queue) {
    const auto device = _pphidDeviceInterface.load();
    const auto ask = [&] {
        putIntoOutputBuffer(command);
        return pairingEnds(doFlashCommandFromOutputBuffer(), device) ? Turn::over : Turn::goOn;
    };
    const auto take = [](const std::optional<IOHIDEventStruct>& reply) {
        const std::uint8_t first = reply ? reply->longValue[0] : 0;
        printText("Event n:2790 (%x , %d)\n", first, reply ? reply->longValue[1] : 0);
        return first == kStorePairingCommand ? Turn::goOn : Turn::askAgain;
    };
    const auto logFailure = [](unsigned code) {
        logLine("Event n:2817 error when get calibration points from flash, %x", code);
    };
    return exchange({queue, logFailure, 1}, kReplyPause, ask, take);
}

void EventGeneratorNX7::Nx9inPairing() {
    const ReportBuffer file = readPairingFile();
    const IOHIDQueueRef queue = startedPairingQueue(PairingDirection::sending);
    for (int index = 0; index < kPairingRecords; ++index) {
        ReportBuffer command = sharedState.emptyCommand();
        writePairingRecord(command, index, file);
        printRecord(command);
        if (!sendPairingRecord(command, queue)) {
            logLine("Pairing: the table could not be sent whole; %d of its records were", index);
            return;
        }
    }
}

bool EventGeneratorNX7::refusesPairingExit() {
    if (!pairingFileWasNeverRead())
        return false;
    logLine("Pairing: no table has been read from a unit yet, so there is none to send");
    sharedState.forgetKeys();
    return true;
}

// The pairing key window

void EventGeneratorNX7::makePairingKeyWindow() {
    Clock& clock = Platform::current().clock;
    clock.sleep(kKeyWindowPause);
    auto keyWindow = newPairingKeyWindow();
    clock.sleep(kKeyWindowPause);
    _keyWindowIgnoresMouse = 0;
    // By design the last one is not closed: it stays where it is, and its keys count as well.
    if (const auto former = sharedState.pairingKeyWindow.load())
        _formerKeyWindows.push_back(former);
    if (keyWindow)
        keyWindow->makeKeyAndOrderFront();
    sharedState.pairingKeyWindow = std::move(keyWindow);
    clock.sleep(kKeyWindowPause);
}

void EventGeneratorNX7::askForPairingKeys() {
    const auto keyWindow = sharedState.pairingKeyWindow.load();
    if (keyWindow && sharedState.wireless == 0)
        keyWindow->borrowKeyboard();
}

void EventGeneratorNX7::giveBackPairingKeys() {
    if (const auto keyWindow = sharedState.pairingKeyWindow.load())
        keyWindow->giveKeyboardBack();
}

[[gnu::noinline]] void EventGeneratorNX7::keyWindowIgnoresMouse(bool ignores) {
    const auto keyWindow = sharedState.pairingKeyWindow.load();
    if (!keyWindow || _keyWindowIgnoresMouse == static_cast<int>(ignores))
        return; // asked for already; most passes ask for what is so
    _keyWindowIgnoresMouse = static_cast<int>(ignores);
    Platform::current().runLoop.performOnMainThread(
        {this, "setIgnoresMouseEvents", {}, [=] { keyWindow->setIgnoresMouseEvents(ignores); }});
}

} // namespace lightpen
