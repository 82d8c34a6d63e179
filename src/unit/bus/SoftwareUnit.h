// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>

#include "platform/PriorityInheritance.h"
#include "platform/UnitIdentifiers.h"
#include "unit/bus/Guarded.h"
#include "unit/bus/UnitSocket.h"
#include "unit/wire/Firmware.h"
#include "unit/wire/WireHook.h"

namespace lightpen {

// What distinguishes one unit from another, as its host sees it.
struct UnitDescription {
    std::size_t reportLength = 804; // of its input reports; at least 5 for whole pen reports
    DeviceInformation information = {};
    std::int32_t vendorID = kUnitVendorID;
    std::int32_t productID = kUnitFirstProductID;
    std::string vendorName = "Emulated camera unit";
    std::string serialNumber = {}; // empty: it has none
};

// The wire side of a unit: its firmware, behind a plug, with an eye for what the camera sees. All operations
// may be called from any thread. What is changed takes effect at the time of the socket's clock (without a
// socket: at the time of the last advance).
class SoftwareUnit {
public:
    using ReportHook = std::function<void(const UnitReport&)>;
    using OutputHook = std::function<void(Microseconds, std::span<const std::uint8_t>)>;
    // What became of an output report.
    enum class Output { taken, notRead, gone };

    // Unplugged, its flash empty. Eye and hook outlive the unit; the socket does so too, or calls
    // leaveSocket. Without a hook nothing stands on the wire.
    SoftwareUnit(UnitDescription description, UnitSocket* socket, Eye& eye, WireHook* hook = nullptr);
    virtual ~SoftwareUnit() = default;
    SoftwareUnit(const SoftwareUnit&) = delete;
    SoftwareUnit& operator=(const SoftwareUnit&) = delete;

    // As it was made.
    const UnitDescription& description() const { return description_; }

    // The plug. Power-off brings back the power-up state; flash and pairing table stay. Plugging in what is
    // plugged in does nothing, nor does unplugging what is not.
    void plug();
    void unplug();
    bool plugged() const;

    // The unit's inside. Each holds the unit's lock for the expression it is used in.
    Guarded<Flash> flash() { return {firmware_.flash, mutex_}; }
    Guarded<PairingTable> pairingTable() { return {firmware_.pairingTable, mutex_}; }
    Guarded<DeviceInformation> information() { return {firmware_.information, mutex_}; }
    Guarded<UnitBehaviour> behaviour() { return {firmware_.behaviour, mutex_}; }
    Guarded<const Firmware> firmware() { return {firmware_, mutex_}; }

    // Runs the action at this time, in order of time among all that the unit does, with the unit's lock held;
    // an action for a time that has passed runs at the next advance.
    void schedule(Microseconds when, std::function<void()> action);

    // Called for each report that the unit sends, and for each output report that it takes, with the unit's
    // lock held. Empty ends it.
    void onReport(ReportHook hook);
    void onOutput(OutputHook hook);
    // Called when an output report has changed what the unit keeps while it is unplugged, with the unit's
    // lock held. Empty ends it.
    void onKept(std::function<void()> hook);

    // Lets time pass: sends what is due up to now. Time that lies behind does nothing.
    void advance(Microseconds now);
    // The earliest time at which advance has something to do; none while nothing can happen by itself.
    std::optional<Microseconds> nextEvent() const;
    // Takes an output report from the host at this time. With notRead the host may offer it again, or give it
    // to outputLater.
    Output output(std::span<const std::uint8_t> report, Microseconds now);
    // Leaves a report that the unit has not read with it: it is taken when the unit reads again, before any
    // later one.
    void outputLater(std::span<const std::uint8_t> report);
    // Whether it reads output reports now.
    bool reads() const;
    // From now on the unit has no socket (if it is still this one).
    void leaveSocket(const UnitSocket& socket);

protected:
    // For what is kept beside the firmware, such as what the eye looks at: the unit's lock, without and with
    // all that is due up to now sent before.
    using Hold = std::unique_lock<std::recursive_mutex>;
    Hold hold() const { return Hold(mutex_); }
    Hold holdCaughtUp();
    template <class Object>
    Guarded<Object> guarded(Object& inside) const {
        return {inside, mutex_};
    }
    // The time that it has come to, and the time on the clock that drives it. The lock is held.
    Microseconds reachedTime() const { return now_; }
    Microseconds currentTime() const;

private:
    void catchUp();
    Microseconds advanceFirmware(Microseconds until);
    void runFirstAction();
    void takeWaiting();
    Output take(std::span<const std::uint8_t> report);
    void handle(std::span<const std::uint8_t> report);
    void send(const UnitReport& report);
    void pullPlug(Microseconds time);

    mutable PriorityInheritanceRecursiveMutex mutex_;
    const UnitDescription description_;
    UnitSocket* socket_;
    WireHook noHook_;
    WireHook& hook_;
    Firmware firmware_;
    bool plugged_ = false;
    Microseconds now_{};
    bool acting_ = false; // an action runs: it is now_, whatever the socket's clock says
    std::multimap<Microseconds, std::function<void()>> actions_;
    std::deque<ReportBytes> waitingOutput_; // sent by the host, not yet read
    ReportHook reportHook_;
    OutputHook outputHook_;
    std::function<void()> keptHook_;
};

} // namespace lightpen
