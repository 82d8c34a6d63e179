// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "kit/TestPlatform.h"
#include "platform/Geometry.h"
#include "platform/ReportFanOut.h"

namespace lightpen {

using ReportBytes = std::vector<std::uint8_t>;

// A report that the host has sent.
struct SentReport {
    IOHIDReportType type = IOHIDReportType::output;
    std::uint32_t reportID = 0;
    ReportBytes bytes;
    std::uint32_t timeoutMs = 0;
    friend bool operator==(const SentReport&, const SentReport&) = default;
};

// What a unit keeps in its flash, as it answers the requests of a flash read ("H" and a number).
struct UnitFlash {
    std::vector<CameraPoint> points = {}; // the four of a calibration, whole numbers; none in an empty flash
    std::uint8_t wireless = 1;
    std::uint8_t NX9Ver = 0x35;
    std::uint8_t cmosVer = 0x12;
    std::uint8_t GainValue = 7;
    std::uint8_t OPmode = 0;

    ReportBytes answerTo(unsigned request) const;
};

// A stored record's answer: "Y", its number and two points.
ReportBytes storedRecord(int number, int x1, int y1, int x2, int y2);

// What a scripted unit is asked and what it answers, shared by the unit, its device interfaces and their
// queues. Thread-safe.
class UnitScript {
public:
    // The operations since the last call, oldest first, each as "who.what(numbers)".
    std::vector<std::string> takeOperations();
    void note(std::string operation);
    // Makes the operation ("device.open", "queue1.start", or "queue.start" for every queue) answer with the
    // result instead of being carried out.
    void answer(std::string operation, IOReturn result);
    // Takes the answer back.
    void carryOut(const std::string& operation);
    // The answer for this operation; success when it is to be carried out.
    IOReturn answerTo(const std::string& operation) const;
    // Called with each operation that is noted, and before each poll of a queue; both by the one who asks.
    // Set them before there are other threads.
    std::function<void(const std::string&)> onNote;
    std::function<void()> onPoll;

private:
    mutable std::mutex mutex_;
    std::vector<std::string> operations_;
    std::map<std::string, IOReturn> answers_;
};

using UnitScriptRef = std::shared_ptr<UnitScript>;

// A real queue that writes down whatever is asked of it.
class ScriptedQueue final : public IOHIDQueueInterface {
public:
    // Named "queue" and its number; polls are only written down when asked for, since there are so many.
    ScriptedQueue(UnitScriptRef script, int number) : script_(std::move(script)), number_(number) {}

    IOReturn createAsyncEventSource(RunLoopSourceRef& source) override;
    IOReturn create(std::uint32_t flags, std::uint32_t depth) override;
    IOReturn dispose() override;
    IOReturn addElement(IOHIDElementCookie cookie, std::uint32_t flags) override;
    bool hasElement(IOHIDElementCookie cookie) const override;
    IOReturn start() override;
    IOReturn stop() override;
    IOReturn getNextEvent(IOHIDEventStruct& event, std::uint64_t maximumTime,
                          std::uint32_t timeoutMs) override;
    IOReturn setEventCallout(IOHIDEventCallout callout) override;

    int number() const { return number_; }
    // Called before each poll is answered, on the polling thread. Set before polling begins.
    std::function<void()> beforePoll;
    std::atomic<bool> notesPolls{false};
    // createAsyncEventSource succeeds and yields no source.
    std::atomic<bool> withoutSource{false};

private:
    // Notes the operation; what the script answers instead of the queue, and success where the queue does.
    IOReturn answer(const std::string& operation, const std::string& arguments = "") const;

    const UnitScriptRef script_;
    const int number_;
};

// A camera unit that does as a test says: it is published in the registry with one HID service for each
// interface number, its queues are real ones in which the test puts reports, and what the host sends is kept.
class ScriptedUnit {
public:
    struct Shape {
        std::int64_t vendor = 0x1209;
        std::int64_t product = 0x0001;
        std::size_t inputLength = 32;
        IOHIDElementCookie cookie = 0x11;
        std::vector<int> interfaces{3};
        // "InputReportElements" of each HID service; empty for the one element with the cookie above.
        std::vector<PropertyDictionary> elements = {};
    };

    explicit ScriptedUnit(TestPlatform& desk) : ScriptedUnit(desk, Shape()) {}
    ScriptedUnit(TestPlatform& desk, Shape shape);
    ~ScriptedUnit();
    ScriptedUnit(const ScriptedUnit&) = delete;
    ScriptedUnit& operator=(const ScriptedUnit&) = delete;

    // Makes it another unit. Not while it is plugged in.
    void reshape(Shape shape);

    // Publishes the services, also after unplug; the arrival is reported when the loop runs.
    void plugIn();
    // The last report of zeros goes out, the services are withdrawn, and sending fails.
    void unplug();

    // An input report for every started queue.
    void sendReport(const ReportBytes& report) { fanOut_->deliver(report); }

    // Called for each report that the host sends, before setReport returns, on the sending thread.
    std::function<IOReturn(const SentReport&)> onSetReport;
    // The reports since the last call, oldest first.
    std::vector<SentReport> takeSent();

    // A queue as allocQueue makes it.
    std::shared_ptr<ScriptedQueue> makeQueue();
    // How many of its device interfaces, and of their queues, somebody holds.
    int heldDevices() const;
    int heldQueues() const;
    // The queue with this number, counted from 1 in the order of allocation; null when it is gone.
    std::shared_ptr<ScriptedQueue> queue(int number) const;

    UnitScript& script() { return *script_; }
    std::vector<std::string> takeOperations() { return script_->takeOperations(); }
    const Shape& shape() const { return shape_; }
    // What goes wrong when the interface is made.
    bool withoutPlugIn = false;
    bool withoutInterface = false;
    std::atomic<bool> withoutQueues{false};
    std::atomic<bool> withoutSources{false}; // of its queues from now on: they succeed, and yield none

private:
    class Device;

    using FanOutRef = std::shared_ptr<ReportFanOut>;

    IOReturn take(SentReport report);
    IOHIDDeviceInterfaceRef makeDevice(); // null when it can have none
    FanOutRef makeFanOut() const;
    std::shared_ptr<ScriptedQueue> makeQueueOf(ReportFanOut& fanOut);
    PropertyDictionary hidProperties(int interface) const;

    TestPlatform& desk_;
    Shape shape_;
    const UnitScriptRef script_ = std::make_shared<UnitScript>();
    FanOutRef fanOut_; // of the time it is plugged in, or was last
    std::vector<io_service_t> services_;
    mutable std::mutex mutex_;
    std::vector<SentReport> sent_;
    std::vector<std::weak_ptr<ScriptedQueue>> queues_;
    std::vector<std::weak_ptr<IOHIDDeviceInterface122>> devices_;
};

} // namespace lightpen
