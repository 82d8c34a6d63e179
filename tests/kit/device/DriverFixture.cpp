// SPDX-License-Identifier: MIT
#include "kit/device/DriverFixture.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "kit/Transcript.h"
#include "matching/RBIOServiceMatchingServer.h"

namespace lightpen {

ReportBytes penReport(int x, int y) {
    const auto low = [](int word) { return static_cast<std::uint8_t>(word & 0xFF); };
    const auto high = [](int word) { return static_cast<std::uint8_t>((word >> 8) & 0xFF); };
    ReportBytes report(32);
    report[1] = low(x);
    report[2] = high(x);
    report[3] = low(y);
    report[4] = high(y);
    return report;
}

ReportBytes penUpReport() {
    return ReportBytes(32);
}

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

std::string postedText(const RecordingPointer::Posted& posted) {
    struct Known {
        const char* name;
        std::uint32_t type;
        std::int32_t click;
        std::uint8_t pressure;
    };
    for (const Known& known :
         {Known{"press", kLeftMouseDown, 1, 255}, Known{"drag", kLeftMouseDragged, 1, 255},
          Known{"release", kLeftMouseUp, 0, 128}, Known{"right press", kRightMouseDown, 1, 128},
          Known{"right release", kRightMouseUp, 0, 128}}) {
        NXMouseEventData data;
        data.eventNum = 1;
        data.click = known.click;
        data.pressure = known.pressure;
        if (posted == RecordingPointer::Posted{known.type, posted.location, data})
            return std::string(known.name) + ' ' + std::to_string(posted.location.x) + ' ' +
                   std::to_string(posted.location.y);
    }
    return testing::PrintToString(posted);
}

void RecordingCalibration::lightPenCallbackAtPoint(CameraPoint point, EventGeneratorNX7& fromObject) {
    if (onPoint)
        onPoint(point);
    const std::lock_guard hold(mutex_);
    points_.push_back(point);
    sender = &fromObject;
}

std::vector<CameraPoint> RecordingCalibration::takePoints() {
    const std::lock_guard hold(mutex_);
    return std::exchange(points_, {});
}

void RecordingDeviceDelegate::hear(const std::string& what, const EventGeneratorNX7& driver) {
    heard_.push_back(what);
    sender = &driver;
    if (onHeard)
        onHeard(what);
    if (then)
        then(what);
}

DriverFixture::DriverFixture() : driver(std::make_unique<EventGeneratorNX7>()) {
    // What desktops have: the service that takes pointer events.
    desk.registry.publish({"IOHIDSystem", "IOService:/IOHIDSystem", {}, {}});
    // The process has one matching server, whose port belongs to the platform of the first test; any port of
    // this registry delivers for all.
    anyPort_ = desk.registry.IONotificationPortCreate(0);
    desk.runLoop.addSource(anyPort_->IONotificationPortGetRunLoopSource(), kCFRunLoopCommonModes);
    desk.threads.onDetach = [this] { turnTaking.start(desk.threads.entries.back()); };
    unit.onSetReport = [this](const SentReport& report) { return sent(report); };
    unit.script().onNote = [this](const std::string& call) { happened.note(call); };
    writeDown();
}

DriverFixture::~DriverFixture() {
    endThreads();
    // The process has one matching server, which would call a driver that is gone.
    RBIOServiceMatchingServer::defaultServer().removeObserver(driver.get());
    // Members that are gone before those that call it.
    log.onLine = nullptr;
    log.onOutput = nullptr;
    unit.onSetReport = nullptr;
    unit.script().onNote = nullptr;
}

void DriverFixture::writeDown() {
    log.onLine = [this](std::string_view line) { happened.line(line); };
    log.onOutput = [this](std::string_view text) { happened.output(text); };
    desk.pointer.onPost = [this](const Posted& posted) { happened.deed(postedText(posted)); };
    desk.pointer.onReleaseButtons = [this] { happened.deed("release buttons"); };
    desk.broadcast.onName = [this](std::string_view name) {
        happened.deed("broadcast " + std::string(name));
    };
    deviceDelegate->onHeard = [this](const std::string& what) { happened.deed("delegate " + what); };
}

IOReturn DriverFixture::sent(const SentReport& report) {
    happened.deed(sentText(report));
    const std::uint8_t letter = report.bytes.empty() ? 0 : report.bytes[0];
    if (letter == 'H') {
        const std::size_t record = report.bytes.size() > 1 ? report.bytes[1] : 0;
        unit.sendReport(record < unitAnswers.records.size()
                            ? unitAnswers.records[record]
                            : ReportBytes{'N', 0, unitAnswers.wireless, 0x35, 0x12, 7, 0});
    }
    for (int i = 0; letter == 'K' && i < unitAnswers.sightings; ++i)
        unit.sendReport({'s'});
    return unitAnswers.then ? unitAnswers.then(report) : kIOReturnSuccess;
}

void DriverFixture::start() {
    driver->init();
    driver->setDeviceDelegate(deviceDelegate);
}

void DriverFixture::plugIn() {
    unit.plugIn();
    runMainLoop();
}

void DriverFixture::unplug() {
    unit.unplug();
    run(ServiceRegistry::kRemovalDelay);
}

DriverFixture::Deeds DriverFixture::pass() {
    happened.clear();
    turnTaking.nextTurn();
    return happened.takeDeeds();
}

DriverFixture::Deeds DriverFixture::passOn(const ReportBytes& report) {
    unit.sendReport(report);
    return pass();
}

void DriverFixture::endThreads() {
    desk.runLoop.terminate(0);
    if (turnTaking.finish(std::chrono::minutes(10)))
        return;
    std::fprintf(stderr, "a thread of the driver does not end with the program\n");
    std::abort();
}

testing::AssertionResult DriverFixture::matchesTranscript(const std::string& name) {
    return lightpen::matchesTranscript(LIGHTPEN_TRANSCRIPTS "/" + name + ".txt", happened.takeAll());
}

RecordingPointer::Posted DriverFixture::event(std::uint32_t type, int x, int y, std::int32_t click,
                                              std::uint8_t pressure) {
    NXMouseEventData data;
    data.eventNum = 1;
    data.click = click;
    data.pressure = pressure;
    return {type, {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)}, data};
}

} // namespace lightpen
