// SPDX-License-Identifier: MIT
#include "unit/bus/EmulatedBus.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace lightpen {

EmulatedBus::EmulatedBus(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock)
    : runLoop_(runLoop), clock_(clock), registryWork_(std::make_shared<RegistryWork>(registry)),
      drive_(clock) {}

EmulatedBus::~EmulatedBus() {
    stopRealTime();
    turns_.reset();
    for (const auto& unit : drive_.units()) {
        unit->unplug();
        unit->leaveSocket(*this);
    }
}

void EmulatedBus::addUnit(std::shared_ptr<SoftwareUnit> unit) {
    {
        const std::lock_guard hold(mutex_);
        Place& place = places_[unit.get()];
        place = {unit, "IOService:/EmulatedBus/Unit@" + std::to_string(places_.size()), nullptr};
    }
    drive_.add(std::move(unit));
}

// Plugging

// A unit that is unplugged on one thread and plugged in again on another must leave before it arrives, so all
// that the registry is to hear waits in one line, whichever thread performs it.
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

void EmulatedBus::unitPlugged(SoftwareUnit& unit) {
    ConnectionRef connection;
    {
        const std::lock_guard hold(mutex_);
        Place& place = places_[&unit];
        auto owned = place.unit.lock();
        if (!owned)
            return;
        connection = std::make_shared<EmulatedConnection>(std::move(owned), clock_, place.location, poll_);
        place.connection = connection;
    }
    drive_.wake();
    publish(connection);
}

void EmulatedBus::unitUnplugged(SoftwareUnit& unit) {
    ConnectionRef connection;
    {
        const std::lock_guard hold(mutex_);
        connection = std::exchange(places_[&unit].connection, nullptr);
    }
    if (!connection)
        return;
    connection->vanish();
    withdraw(connection);
}

void EmulatedBus::unitReport(SoftwareUnit& unit, const UnitReport& report) {
    ConnectionRef connection;
    {
        const std::lock_guard hold(mutex_);
        connection = places_[&unit].connection;
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
                                       (*bus)->drive_.untilNextEvent());
}

} // namespace lightpen
