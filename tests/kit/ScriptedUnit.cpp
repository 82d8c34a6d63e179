// SPDX-License-Identifier: MIT
#include "kit/ScriptedUnit.h"

#include <algorithm>

namespace lightpen {

ReportBytes storedRecord(int number, int x1, int y1, int x2, int y2) {
    ReportBytes reply{'Y', static_cast<std::uint8_t>(number)};
    for (const int word : {x1, y1, x2, y2}) {
        reply.push_back(static_cast<std::uint8_t>(word & 0xFF));
        reply.push_back(static_cast<std::uint8_t>((word >> 8) & 0xFF));
    }
    return reply;
}

ReportBytes UnitFlash::answerTo(unsigned request) const {
    if (points.empty())
        return {'N', 0, wireless, NX9Ver, cmosVer, GainValue, OPmode};
    if (request >= 2)
        return {'Y', 2, 0, GainValue, OPmode, 0, 0, wireless, NX9Ver, cmosVer};
    const CameraPoint first = points.at(2 * request), second = points.at(2 * request + 1);
    return storedRecord(static_cast<int>(request), static_cast<int>(first.x), static_cast<int>(first.y),
                        static_cast<int>(second.x), static_cast<int>(second.y));
}

// UnitScript

std::vector<std::string> UnitScript::takeOperations() {
    const std::lock_guard hold(mutex_);
    return std::exchange(operations_, {});
}

void UnitScript::note(std::string operation) {
    if (onNote)
        onNote(operation);
    const std::lock_guard hold(mutex_);
    operations_.push_back(std::move(operation));
}

void UnitScript::answer(std::string operation, IOReturn result) {
    const std::lock_guard hold(mutex_);
    answers_.insert_or_assign(std::move(operation), result);
}

void UnitScript::carryOut(const std::string& operation) {
    const std::lock_guard hold(mutex_);
    answers_.erase(operation);
}

IOReturn UnitScript::answerTo(const std::string& operation) const {
    const std::lock_guard hold(mutex_);
    const auto found = answers_.find(operation);
    return found == answers_.end() ? kIOReturnSuccess : found->second;
}

// ScriptedQueue

IOReturn ScriptedQueue::answer(const std::string& operation, const std::string& arguments) const {
    const std::string name = "queue" + std::to_string(number_) + "." + operation;
    script_->note(name + "(" + arguments + ")");
    const IOReturn own = script_->answerTo(name);
    return own != kIOReturnSuccess ? own : script_->answerTo("queue." + operation);
}

IOReturn ScriptedQueue::createAsyncEventSource(RunLoopSourceRef& source) {
    const IOReturn answered = answer("createAsyncEventSource");
    return answered != kIOReturnSuccess || withoutSource
               ? answered
               : IOHIDQueueInterface::createAsyncEventSource(source);
}

IOReturn ScriptedQueue::create(std::uint32_t flags, std::uint32_t depth) {
    const IOReturn answered = answer("create", std::to_string(flags) + ", " + std::to_string(depth));
    return answered != kIOReturnSuccess ? answered : IOHIDQueueInterface::create(flags, depth);
}

IOReturn ScriptedQueue::dispose() {
    const IOReturn answered = answer("dispose");
    return answered != kIOReturnSuccess ? answered : IOHIDQueueInterface::dispose();
}

IOReturn ScriptedQueue::addElement(IOHIDElementCookie cookie, std::uint32_t flags) {
    const IOReturn answered = answer("addElement", std::to_string(cookie) + ", " + std::to_string(flags));
    return answered != kIOReturnSuccess ? answered : IOHIDQueueInterface::addElement(cookie, flags);
}

bool ScriptedQueue::hasElement(IOHIDElementCookie cookie) const {
    answer("hasElement", std::to_string(cookie));
    return IOHIDQueueInterface::hasElement(cookie);
}

IOReturn ScriptedQueue::start() {
    const IOReturn answered = answer("start");
    return answered != kIOReturnSuccess ? answered : IOHIDQueueInterface::start();
}

IOReturn ScriptedQueue::stop() {
    const IOReturn answered = answer("stop");
    return answered != kIOReturnSuccess ? answered : IOHIDQueueInterface::stop();
}

IOReturn ScriptedQueue::getNextEvent(IOHIDEventStruct& event, std::uint64_t maximumTime,
                                     std::uint32_t timeoutMs) {
    if (beforePoll)
        beforePoll();
    const std::string name = "queue" + std::to_string(number_) + ".getNextEvent";
    if (script_->onPoll)
        script_->onPoll();
    if (notesPolls)
        script_->note(name + "(" + std::to_string(maximumTime) + ", " + std::to_string(timeoutMs) + ")");
    for (const std::string& operation : {name, std::string("queue.getNextEvent")})
        if (const IOReturn result = script_->answerTo(operation); result != kIOReturnSuccess)
            return result;
    return IOHIDQueueInterface::getNextEvent(event, maximumTime, timeoutMs);
}

IOReturn ScriptedQueue::setEventCallout(IOHIDEventCallout callout) {
    const IOReturn answered = answer("setEventCallout");
    return answered != kIOReturnSuccess ? answered : IOHIDQueueInterface::setEventCallout(std::move(callout));
}

// The device interface and its plug-in

class ScriptedUnit::Device final : public IOHIDDeviceInterface122 {
public:
    explicit Device(ScriptedUnit& unit) : unit_(unit), fanOut_(unit.fanOut_) {}

    IOReturn open(std::uint32_t flags) override {
        unit_.script_->note("device.open(" + std::to_string(flags) + ")");
        const IOReturn result = unit_.script_->answerTo("device.open");
        opened_ = opened_ || result == kIOReturnSuccess;
        return result;
    }
    IOReturn close() override {
        unit_.script_->note("device.close()");
        const IOReturn result = unit_.script_->answerTo("device.close");
        if (result == kIOReturnSuccess)
            opened_ = false;
        return result;
    }
    IOReturn setReport(IOHIDReportType type, std::uint32_t reportID, std::span<const std::uint8_t> report,
                       std::uint32_t timeoutMs) override {
        if (fanOut_->vanished())
            return kIOReturnNoDevice;
        if (!opened_)
            return kIOReturnNotOpen;
        if (const IOReturn result = unit_.script_->answerTo("device.setReport"); result != kIOReturnSuccess)
            return result;
        return unit_.take({type, reportID, {report.begin(), report.end()}, timeoutMs});
    }
    IOHIDQueueRef allocQueue() override { return unit_.makeQueueOf(*fanOut_); }

private:
    ScriptedUnit& unit_;
    const FanOutRef fanOut_;
    std::atomic<bool> opened_{false};
};

// ScriptedUnit

ScriptedUnit::ScriptedUnit(TestPlatform& desk, Shape shape)
    : desk_(desk), shape_(std::move(shape)), fanOut_(makeFanOut()) {}

ScriptedUnit::FanOutRef ScriptedUnit::makeFanOut() const {
    return std::make_shared<ReportFanOut>(desk_.clock, shape_.cookie, shape_.inputLength);
}

void ScriptedUnit::reshape(Shape shape) {
    shape_ = std::move(shape);
    fanOut_ = makeFanOut();
}

ScriptedUnit::~ScriptedUnit() {
    for (const io_service_t service : services_)
        desk_.registry.withdraw(service);
}

PropertyDictionary ScriptedUnit::hidProperties(int interface) const {
    std::vector<PropertyDictionary> elements = shape_.elements;
    if (elements.empty())
        elements.push_back({{{"ReportID", std::int64_t{0}}, {"ElementCookie", std::int64_t{shape_.cookie}}}});
    return {{{"VendorID", shape_.vendor},
             {"ProductID", shape_.product},
             {"Manufacturer", "Scripted " + std::to_string(interface)},
             {"InputReportElements", std::move(elements)}}};
}

void ScriptedUnit::plugIn() {
    if (fanOut_->vanished())
        fanOut_ = makeFanOut();
    const IOCFPlugInInterface plugIn = [this] { return makeDevice(); };
    for (const int interface : shape_.interfaces) {
        const std::string path = "IOService:/unit/IOUSBInterface@" + std::to_string(interface);
        services_.push_back(desk_.registry.publish(
            {"IOHIDDevice", path, hidProperties(interface), withoutPlugIn ? IOCFPlugInInterface() : plugIn}));
    }
    services_.push_back(
        desk_.registry.publish({"IOUSBDevice",
                                "IOService:/unit",
                                {{{"idVendor", shape_.vendor}, {"idProduct", shape_.product}}},
                                {}}));
}

void ScriptedUnit::unplug() {
    fanOut_->vanish();
    for (const io_service_t service : std::exchange(services_, {}))
        desk_.registry.withdraw(service);
}

IOReturn ScriptedUnit::take(SentReport report) {
    {
        const std::lock_guard hold(mutex_);
        sent_.push_back(report);
    }
    return onSetReport ? onSetReport(report) : kIOReturnSuccess;
}

std::vector<SentReport> ScriptedUnit::takeSent() {
    const std::lock_guard hold(mutex_);
    return std::exchange(sent_, {});
}

IOHIDDeviceInterfaceRef ScriptedUnit::makeDevice() {
    if (withoutInterface || fanOut_->vanished())
        return nullptr;
    auto device = std::make_shared<Device>(*this);
    const std::lock_guard hold(mutex_);
    devices_.push_back(device);
    return device;
}

template <class Thing>
static int held(const std::vector<std::weak_ptr<Thing>>& things) {
    return static_cast<int>(
        std::count_if(things.begin(), things.end(), [](const auto& thing) { return !thing.expired(); }));
}

int ScriptedUnit::heldDevices() const {
    const std::lock_guard hold(mutex_);
    return held(devices_);
}

int ScriptedUnit::heldQueues() const {
    const std::lock_guard hold(mutex_);
    return held(queues_);
}

std::shared_ptr<ScriptedQueue> ScriptedUnit::makeQueue() {
    return makeQueueOf(*fanOut_);
}

std::shared_ptr<ScriptedQueue> ScriptedUnit::makeQueueOf(ReportFanOut& fanOut) {
    script_->note("device.allocQueue()");
    if (withoutQueues)
        return nullptr;
    const std::lock_guard hold(mutex_);
    auto queue = std::make_shared<ScriptedQueue>(script_, static_cast<int>(queues_.size()) + 1);
    fanOut.add(queue);
    queue->withoutSource = withoutSources.load();
    queues_.push_back(queue);
    return queue;
}

std::shared_ptr<ScriptedQueue> ScriptedUnit::queue(int number) const {
    const std::lock_guard hold(mutex_);
    const auto index = static_cast<std::size_t>(number - 1);
    return index < queues_.size() ? queues_[index].lock() : nullptr;
}

} // namespace lightpen
