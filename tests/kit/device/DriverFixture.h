// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/EventGeneratorNX7.h"
#include "device/PairingKeyWindow.h"
#include "kit/RecordingLog.h"
#include "kit/ScriptedUnit.h"
#include "kit/TestPlatform.h"
#include "kit/Timeline.h"
#include "kit/TurnTaking.h"

namespace lightpen {

// A pen report of the unit: the spot's position, little-endian, the rest zero.
ReportBytes penReport(int x, int y);
// What the unit sends when it sees no spot.
ReportBytes penUpReport();
// A report that is sent, as text: "send 48 01 (32 bytes, no limit)", without its trailing zeros.
std::string sentText(const SentReport& report);
// An event that is posted, as text: "press 503 307", "drag", "release", "right press", "right release"; whole
// where it is none of these to the last value.
std::string postedText(const RecordingPointer::Posted& posted);

// Maps by shifting and scaling, so that each axis is told from the other; a fixed answer wins.
class ShiftingMapper final : public KVRCalibrationProtocol {
public:
    explicit ShiftingMapper(double scale = 1, ScreenPoint shift = {}) : scale_(scale), shift_(shift) {}
    ScreenPoint mapPointFrom(CameraPoint point) override {
        const std::optional<ScreenPoint> fixed = answer;
        return fixed ? *fixed : ScreenPoint{point.x * scale_ + shift_.x, point.y * scale_ + shift_.y};
    }
    SharedRecord<std::optional<ScreenPoint>> answer;

private:
    const double scale_;
    const ScreenPoint shift_;
};

// Keeps the raw points of a calibration. Thread-safe.
class RecordingCalibration final : public EventGeneratorNX7CallbackProtocol {
public:
    bool respondsToLightPenCallback() const override { return responds; }
    void lightPenCallbackAtPoint(CameraPoint point, EventGeneratorNX7& fromObject) override;
    std::vector<CameraPoint> takePoints();
    // The driver that the last point came from.
    SharedValue<const EventGeneratorNX7*> sender{nullptr};
    SharedFlag responds{true};
    // Called with each point, on the thread that hands it over. Set it before there are other threads.
    std::function<void(CameraPoint)> onPoint;

private:
    std::mutex mutex_;
    std::vector<CameraPoint> points_;
};

// Keeps the names of what it hears, and what the driver's arming looked like at that moment.
class RecordingDeviceDelegate final : public EventGeneratorNX7DeviceCallbackProtocol {
public:
    bool respondsTo(Operation operation) const override { return !deaf.contains(operation); }
    void noiseDetectedCallback(EventGeneratorNX7& driver) override { hear("noise", driver); }
    void deviceDidAddCallback(EventGeneratorNX7& driver) override { hear("add", driver); }
    void deviceDidRemoveCallback(EventGeneratorNX7& driver) override { hear("remove", driver); }
    void statMenu(EventGeneratorNX7& driver) override { hear("statMenu", driver); }
    std::vector<std::string> takeHeard() { return std::exchange(heard_, {}); }

    std::set<Operation> deaf;
    const EventGeneratorNX7* sender = nullptr;
    // Called with each message's name: first this, to write it down, then that, for what is to follow.
    std::function<void(const std::string&)> onHeard;
    std::function<void(const std::string&)> then;

private:
    void hear(const std::string& what, const EventGeneratorNX7& driver);
    std::vector<std::string> heard_;
};

// How a scripted unit answers what it is sent.
struct UnitAnswers {
    // The replies to flash requests, by the number that is asked for; what is not there is answered with "no
    // record", which says how the pen is paired.
    std::vector<ReportBytes> records;
    std::uint8_t wireless = 1;
    // How often stray light is seen in each test for it.
    int sightings = 0;
    // Called for each report, after its answer; what it says is setReport's result.
    std::function<IOReturn(const SentReport&)> then;
};

// A driver of its own on a platform of doubles, with the process-wide values as at the start of the process.
// A test drives it through its operations, the unit and the time, and compares what happened with `happened`:
//
//   press 503 307 ...              a pointer event; "release buttons" for all that are down
//   send 48 01 (32 bytes, 100 ms)  a report to the unit
//   broadcast LightPenNX7Region... a notification
//   delegate add ...               a message to the device delegate: noise, add, remove, statMenu
//   log "...", queue1.start()      lines and calls of the HID layer, in transcripts only
//
// The point thread is the driver's own and takes turns with the test: it makes its passes whenever the test
// waits, be it within an operation of the driver. The unit answers flash requests as `unitAnswers` says.
class DriverFixture : public testing::Test {
protected:
    using Operation = EventGeneratorNX7DeviceCallbackProtocol::Operation;
    using Posted = RecordingPointer::Posted;
    using Deeds = std::vector<std::string>;

    DriverFixture();
    ~DriverFixture() override;

    // Starts the driver and gives it its delegate.
    void start();
    // Arrival and removal of the unit, with the main loop running until they have been reported.
    void plugIn();
    void unplug();
    // Runs the main loop; the point thread makes its passes meanwhile.
    void run(Microseconds duration) { desk.runLoop.runFor(duration); }
    // What one pass of the point thread does. The main thread waits for its end, and performs nothing.
    Deeds pass();
    // A pass that finds this report.
    Deeds passOn(const ReportBytes& report);
    // What is performed on the main thread now.
    void runMainLoop() { desk.runLoop.runPending(); }
    // Ends the point thread. A fixture calls it before it takes away what the thread uses.
    void endThreads();
    // Whether what happened since the last take is what tests/device/transcripts/NAME.txt says.
    testing::AssertionResult matchesTranscript(const std::string& name);

    // The event that each post operation makes.
    static Posted down(int x, int y) { return event(kLeftMouseDown, x, y, 1, 255); }
    static Posted drag(int x, int y) { return event(kLeftMouseDragged, x, y, 1, 255); }
    static Posted up(int x, int y) { return event(kLeftMouseUp, x, y, 0, 128); }
    static Posted event(std::uint32_t type, int x, int y, std::int32_t click, std::uint8_t pressure);

    TestPlatform desk;
    Timeline happened{desk.clock};
    TurnTaking turnTaking{desk.clock};
    RecordingLog log;
    ScriptedUnit unit{desk};
    UnitAnswers unitAnswers;
    // The driver's own thread objects must find it until the end of the process, as they find the real one.
    std::unique_ptr<EventGeneratorNX7> driver;
    std::shared_ptr<RecordingDeviceDelegate> deviceDelegate = std::make_shared<RecordingDeviceDelegate>();

private:
    void writeDown();
    IOReturn sent(const SentReport& report);

    std::shared_ptr<IONotificationPort> anyPort_;
};

} // namespace lightpen
