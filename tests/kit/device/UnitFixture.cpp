// SPDX-License-Identifier: MIT
#include "kit/device/UnitFixture.h"

#include <algorithm>
#include <cstdio>

namespace lightpen {

namespace {

// Polls in a row, without a report, after which a test has plainly forgotten to end a wait.
constexpr int kManyPolls = 1000;

} // namespace

std::string sentText(const SentReport& report) {
    const auto lastUsed =
        std::find_if(report.bytes.rbegin(), report.bytes.rend(), [](std::uint8_t byte) { return byte != 0; });
    std::string text = "send";
    for (auto byte = report.bytes.begin(); byte != lastUsed.base(); ++byte) {
        char hex[4];
        std::snprintf(hex, sizeof hex, " %02X", *byte);
        text += hex;
    }
    text += " (" + std::to_string(report.bytes.size()) + " bytes, ";
    return text +
           (report.timeoutMs == kIOHIDNoTimeout ? "no limit" : std::to_string(report.timeoutMs) + " ms") +
           ")";
}

UnitFixture::UnitFixture() {
    const auto write = [this](std::string what) { timeline_.push_back(std::move(what)); };
    log.onLine = [write](std::string_view line) { write(std::string(line)); };
    log.onOutput = [write](std::string_view text) { write("out: " + std::string(text)); };
    desk.clock.onSleep = [write](Microseconds duration) {
        write("sleep " + std::to_string(duration.count()));
    };
    unit.script().onNote = write;
    unit.script().onPoll = [this] { polled(); };
    unit.onSetReport = [this](const SentReport& report) { return sent(report); };
    desk.threads.onDetach = [this, write] {
        write("thread");
        if (threadsStart)
            desk.runLoop.performOnMainThread(
                {this, "thread", {}, [this] { thread = driver->beginPointThread(); }});
    };
    // The process has one matching server, whose port belongs to the platform of the first test; any port of
    // this registry delivers for all.
    port_ = desk.registry.IONotificationPortCreate(0);
    desk.runLoop.addSource(port_->IONotificationPortGetRunLoopSource(), kCFRunLoopCommonModes);
}

UnitFixture::~UnitFixture() {
    // They refer to members that are gone before what holds them.
    log.onLine = nullptr;
    log.onOutput = nullptr;
    desk.clock.onSleep = nullptr;
    desk.threads.onDetach = nullptr;
    unit.script().onNote = nullptr;
    unit.script().onPoll = nullptr;
    unit.onSetReport = nullptr;
}

std::vector<std::string> UnitFixture::takeTimeline() {
    return std::exchange(timeline_, {});
}

std::deque<ReportBytes> UnitFixture::calibratedReplies() {
    // Record 2: GainValue 7, OPmode 0, wireless 1, NX9Ver 0x35, cmosVer 0x12.
    return {{0x01},
            storedRecord(0, 210, 140, 2330, 161),
            storedRecord(1, 233, 1709, 2291, 1688),
            {'Y', 2, 0, 7, 0, 0, 0, 1, 0x35, 0x12}};
}

std::deque<ReportBytes> UnitFixture::emptyReplies() {
    return {{0x01}, {'N', 0, 1, 0x35, 0x12, 7, 0}};
}

IOReturn UnitFixture::sent(const SentReport& report) {
    timeline_.push_back(sentText(report));
    pollsInSilence_ = 0;
    const IOReturn result = onSend ? onSend(report, ++sends_) : kIOReturnSuccess;
    if (result == kIOReturnSuccess && !report.bytes.empty() && report.bytes[0] == 'H' && !replies.empty()) {
        const ReportBytes reply = std::move(replies.front());
        replies.pop_front();
        unit.sendReport(reply);
    }
    return result;
}

void UnitFixture::polled() {
    if (onSilence)
        onSilence();
    if (++pollsInSilence_ == kManyPolls) {
        ADD_FAILURE() << "the driver waits for a unit that has nothing more to say";
        desk.runLoop.terminate(0);
    }
}

void UnitFixture::plugIn() {
    unit.plugIn();
    desk.runLoop.runPending();
}

void UnitFixture::unplug() {
    unit.unplug();
    desk.runLoop.runFor(ServiceRegistry::kRemovalDelay);
}

} // namespace lightpen
