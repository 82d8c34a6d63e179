// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <thread>
#include <utility>

#include "platform/PriorityInheritance.h"
#include "platform/RunLoop.h"
#include "platform/ServiceRegistry.h"
#include "platform/Time.h"
#include "unit/bus/EmulatedInterface.h"
#include "unit/bus/SoftwareUnit.h"
#include "unit/bus/UnitDrive.h"
#include "unit/bus/UnitSocket.h"

namespace lightpen {

// A USB bus in the process: units that are plugged in appear in the registry, with their HID interfaces 3, 2,
// 1 and 0, of which 3 is the pen's. Three ways to make time pass for the units:
//
//   by hand       the owner of a virtual clock calls advance
//   on the loop   runOnMainLoop asks the run loop for a turn whenever a unit has something to do; in virtual
//                 time everything then happens at its time while the loop runs
//   real time     runInRealTime starts a thread
//
// With each, a unit also catches up whenever the host sends it something or asks one of its queues. Plugging
// may be asked for on any thread: on the one that made the bus, which must be the main thread, the registry
// hears of it at once, else through the run loop. The registry, the run loop and the clock outlive the bus
// and every interface that was had through it.
class EmulatedBus final : private UnitSocket {
public:
    EmulatedBus(ServiceRegistry& registry, RunLoop& runLoop, Clock& clock);
    // Unplugs everything.
    ~EmulatedBus() override;
    EmulatedBus(const EmulatedBus&) = delete;
    EmulatedBus& operator=(const EmulatedBus&) = delete;

    // A new unit beside the bus, made of what its constructor takes behind description and socket; plug() of
    // the unit plugs it in. It belongs to the bus.
    template <class Unit, class... More>
    Unit& add(UnitDescription description = {}, More&&... more) {
        auto unit = std::make_shared<Unit>(std::move(description), static_cast<UnitSocket*>(this),
                                           std::forward<More>(more)...);
        addUnit(unit);
        return *unit;
    }

    // Lets all units catch up with this time.
    void advance(Microseconds now) { drive_.advance(now); }

    // Called before each answer of a queue, on the thread that asks, without any lock held: a virtual clock
    // that stands while somebody polls without sleeping can move there. Set it before anything is plugged in.
    void onPoll(EmulatedConnection::PollHook hook) { poll_ = std::move(hook); }

    // From now on the main loop lets the units catch up when something is due. Main thread.
    void runOnMainLoop();

    // Starts the thread; it wakes whenever a unit has something to do, and ends with the bus or with
    // stopRealTime.
    void runInRealTime() { drive_.start(); }
    void stopRealTime() { drive_.stop(); } // waits for the thread

private:
    Microseconds now() override { return clock_.now(); }
    void unitPlugged(SoftwareUnit& unit) override;
    void unitUnplugged(SoftwareUnit& unit) override;
    void unitReport(SoftwareUnit& unit, const UnitReport& report) override;

    void addUnit(std::shared_ptr<SoftwareUnit> unit);
    using ConnectionRef = std::shared_ptr<EmulatedConnection>;
    void onMainThread(std::function<void(ServiceRegistry&)> operation);
    void publish(const ConnectionRef& connection);
    void withdraw(const ConnectionRef& connection);
    static void turn(const std::weak_ptr<EmulatedBus*>& weak);

    // What the registry is still to hear. Requests to the main loop share it, as they may outlive the bus.
    struct RegistryWork {
        explicit RegistryWork(ServiceRegistry& registry) : services(registry) {}
        ServiceRegistry& services; // main thread
        PriorityInheritanceMutex mutex;
        std::deque<std::function<void(ServiceRegistry&)>> waiting; // in the order of plugging
    };
    static void performWaiting(RegistryWork& work);

    RunLoop& runLoop_;
    Clock& clock_;
    const std::shared_ptr<RegistryWork> registryWork_;
    const std::thread::id mainThread_ = std::this_thread::get_id();
    EmulatedConnection::PollHook poll_;

    PriorityInheritanceMutex mutex_; // guards what follows
    struct Place {
        std::weak_ptr<SoftwareUnit> unit;
        std::string location;
        ConnectionRef connection; // while it is plugged in
    };
    std::map<const SoftwareUnit*, Place> places_;

    UnitDrive drive_;
    // What the requests for turns on the main loop know of the bus; gone with it.
    std::shared_ptr<EmulatedBus*> turns_;
};

} // namespace lightpen
