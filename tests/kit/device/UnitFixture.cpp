// SPDX-License-Identifier: MIT
#include "kit/device/UnitFixture.h"

#include <utility>

namespace lightpen {

namespace {

constexpr Microseconds kPassPeriod{16'800};
constexpr int kPassesBeforeArming = 6;

} // namespace

UnitFixture::~UnitFixture() {
    endThreads();
    unit.script().onPoll = nullptr;
    desk.clock.onSleep = nullptr;
}

std::vector<ReportBytes> UnitFixture::calibratedRecords() {
    return {storedRecord(0, 210, 140, 2330, 161),
            storedRecord(1, 233, 1709, 2291, 1688),
            {'Y', 2, 0, 7, 0, 0, 0, 1, 0x35, 0x12}};
}

void UnitFixture::reshape(std::size_t inputLength) {
    ScriptedUnit::Shape shape = unit.shape();
    shape.inputLength = inputLength;
    unit.reshape(shape);
}

void UnitFixture::prepare(Trouble trouble) {
    unit.withoutPlugIn = trouble == Trouble::noPlugIn;
    unit.withoutInterface = trouble == Trouble::noInterface;
    unit.script().answer("device.open",
                         trouble == Trouble::notOpened ? kIOReturnNotPrivileged : kIOReturnSuccess);
}

void UnitFixture::openInterface() {
    prepare(Trouble::notOpened);
    plugIn();
    driver->startHIDMode();
    prepare(Trouble::none);
    driver->openHIDInterface();
    forget();
}

void UnitFixture::openAndRead() {
    openInterface();
    // A command of no bytes asks for nothing, and is answered all the same.
    const auto then = std::exchange(unitAnswers.then, [this](const SentReport& report) {
        if (report.bytes.empty())
            unit.sendReport({'N'});
        return kIOReturnSuccess;
    });
    readFlash();
    unitAnswers.then = then;
    forget();
}

void UnitFixture::forget() {
    happened.clear();
    log.clear();
    desk.clock.takeSleeps();
    unit.takeSent();
    unit.takeOperations();
}

void UnitFixture::arm() {
    for (int pass = 0; pass < kPassesBeforeArming; ++pass) {
        unit.sendReport(penUpReport());
        turnTaking.nextTurn();
    }
    for (int pass = 0; pass < 3 && !EventGeneratorNX7::hearsPen(); ++pass)
        turnTaking.nextTurn();
    ASSERT_TRUE(EventGeneratorNX7::hearsPen());
    forget();
}

void UnitFixture::failSends(int first, IOReturn result, int count) {
    unitAnswers.then = [=, sends = 0](const SentReport&) mutable {
        ++sends;
        return sends >= first && sends - first < count ? result : kIOReturnSuccess;
    };
}

void UnitFixture::after(Microseconds delay, std::function<void()> what) {
    desk.runLoop.performAfterDelay({this, "after", {}, std::move(what)}, delay);
}

void UnitFixture::atPauses(std::function<void(int number, Microseconds duration)> what) {
    desk.clock.onSleep = [what = std::move(what), number = 0](Microseconds duration) mutable {
        if (duration != kPassPeriod)
            what(++number, duration);
    };
}

Microseconds UnitFixture::timeOf(const std::function<void()>& operation) {
    const Microseconds before = desk.clock.now();
    operation();
    return desk.clock.now() - before;
}

std::vector<std::string> UnitFixture::lettersSent() {
    std::vector<std::string> letters;
    for (const SentReport& report : unit.takeSent())
        letters.push_back(static_cast<char>(report.bytes.at(0)) + std::to_string(report.bytes.at(1)));
    return letters;
}

std::vector<std::size_t> UnitFixture::lengthsSent() {
    std::vector<std::size_t> lengths;
    for (const SentReport& report : unit.takeSent())
        lengths.push_back(report.bytes.size());
    return lengths;
}

UnitFixture::Deeds UnitFixture::deedsWith(const std::string& beginning) {
    Deeds deeds = happened.takeDeeds();
    std::erase_if(deeds, [&](const std::string& deed) { return !deed.starts_with(beginning); });
    return deeds;
}

std::vector<std::string> UnitFixture::callsOf(const std::string& operation) {
    auto calls = unit.takeOperations();
    std::erase_if(calls, [&](const std::string& call) { return !call.starts_with(operation + "("); });
    return calls;
}

} // namespace lightpen
