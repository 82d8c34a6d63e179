// SPDX-License-Identifier: MIT
#include "emulator/EmulatedBus.h"

#include <algorithm>
#include <utility>

namespace lightpen {

namespace {

// Bounds of the thread's naps: a script may change what comes next at any moment.
constexpr Microseconds kShortestNap{100};
constexpr Microseconds kLongestNap{4'000};

} // namespace

EmulatedBus::EmulatedBus(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock)
    : runLoop_(runLoop), clock_(clock), registryWork_(std::make_shared<RegistryWork>(registry)) {}

EmulatedBus::~EmulatedBus() {
    stopRealTime();
    turns_.reset();
    for (const auto& unit : units()) {
        unit->unplug();
        unit->leaveSocket(*this);
    }
}

CameraUnit& EmulatedBus::addUnit(UnitDescription description) {
    auto unit = std::make_shared<CameraUnit>(std::move(description), static_cast<UnitSocket*>(this));
    const std::lock_guard hold(mutex_);
    units_.push_back(unit);
    locations_[unit.get()] = "IOService:/EmulatedBus/Unit@" + std::to_string(units_.size());
    return *unit;
}

std::vector<std::shared_ptr<CameraUnit>> EmulatedBus::units() {
    const std::lock_guard hold(mutex_);
    return units_;
}

void EmulatedBus::advance(Microseconds now) {
    for (const auto& unit : units())
        unit->advance(now);
}

// Plugging

// A unit that is unplugged on one thread and plugged in again on another must leave before it arrives, so all
// that the registry is to hear waits in one line, whoever performs it.
void EmulatedBus::onMainThread(std::function<void(ServiceRegistry&)> operation) {
    {
        const std::lock_guard hold(registryWork_->mutex);
        registryWork_->waiting.push_back(std::move(operation));
    }
    if (std::this_thread::get_id() == mainThread_)
        performWaiting(*registryWork_);
    else
        runLoop_.performOnMainThread(
            {this, "EmulatedBus registry", {}, [work = registryWork_] { performWaiting(*work); }});
}

void EmulatedBus::performWaiting(RegistryWork& work) {
    while (true) {
        std::function<void(ServiceRegistry&)> operation;
        {
            const std::lock_guard hold(work.mutex);
            if (work.waiting.empty())
                return;
            operation = std::move(work.waiting.front());
            work.waiting.pop_front();
        }
        operation(work.services);
    }
}

void EmulatedBus::publish(const ConnectionRef& connection) {
    onMainThread([connection](ServiceRegistry& registry) {
        // Gone again before the main thread came to it: it was never there.
        if (connection->gone())
            return;
        for (ServiceDescription& service : connection->services())
            connection->published.push_back(registry.publish(std::move(service)));
    });
}

void EmulatedBus::withdraw(const ConnectionRef& connection) {
    onMainThread([connection](ServiceRegistry& registry) {
        // The device first: it is absent before its parts are.
        std::reverse(connection->published.begin(), connection->published.end());
        for (const io_service_t service : std::exchange(connection->published, {}))
            registry.withdraw(service);
    });
}

void EmulatedBus::unitPlugged(CameraUnit& unit) {
    ConnectionRef connection;
    {
        const std::lock_guard hold(mutex_);
        const auto owned = std::find_if(units_.begin(), units_.end(),
                                        [&](const auto& other) { return other.get() == &unit; });
        if (owned == units_.end())
            return;
        connection = std::make_shared<EmulatedConnection>(*owned, clock_, locations_[&unit], poll_);
        connections_[&unit] = connection;
    }
    wake_.notify_all();
    publish(connection);
}

void EmulatedBus::unitUnplugged(CameraUnit& unit) {
    ConnectionRef connection;
    {
        const std::lock_guard hold(mutex_);
        connection = std::exchange(connections_[&unit], nullptr);
    }
    if (!connection)
        return;
    connection->vanish();
    withdraw(connection);
}

void EmulatedBus::unitReport(CameraUnit& unit, const UnitReport& report) {
    ConnectionRef connection;
    {
        const std::lock_guard hold(mutex_);
        connection = connections_[&unit];
    }
    if (connection)
        connection->deliver(report);
}

// Time

void EmulatedBus::runOnMainLoop() {
    if (turns_)
        return;
    turns_ = std::make_shared<EmulatedBus*>(this);
    turn(turns_);
}

void EmulatedBus::turn(const std::weak_ptr<EmulatedBus*>& weak) {
    const auto bus = weak.lock();
    if (!bus)
        return;
    (*bus)->advance((*bus)->clock_.now());
    (*bus)->runLoop_.performAfterDelay({*bus, "EmulatedBus turn", {}, [weak] { turn(weak); }},
                                       (*bus)->untilNextEvent());
}

void EmulatedBus::runInRealTime() {
    {
        const std::lock_guard hold(mutex_);
        if (std::exchange(running_, true))
            return;
    }
    thread_ = std::thread([this] { runThread(); });
}

void EmulatedBus::stopRealTime() {
    {
        const std::lock_guard hold(mutex_);
        running_ = false;
    }
    wake_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

Microseconds EmulatedBus::untilNextEvent() {
    const Microseconds now = clock_.now();
    Microseconds nap = kLongestNap;
    for (const auto& unit : units())
        if (const auto next = unit->nextEvent())
            nap = std::min(nap, *next - now);
    return std::max(nap, kShortestNap);
}

void EmulatedBus::runThread() {
    while (true) {
        advance(clock_.now());
        const Microseconds nap = untilNextEvent();
        std::unique_lock hold(mutex_);
        if (!running_)
            return;
        wake_.wait_for(hold, nap);
        if (!running_)
            return;
    }
}

} // namespace lightpen
