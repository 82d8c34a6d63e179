// SPDX-License-Identifier: MIT
// A camera unit in software: firmware, optics, the hand before the screen, and a plug.
//
//   EmulatedBus bus(registry, runLoop, clock);
//   CameraUnit& unit = bus.addUnit({.reportLength = 804, .optics = Optics::strongKeystone({1280, 800})});
//   unit.flash()->store(unit.seen({100, 100}), unit.seen({1180, 100}),
//                       unit.seen({100, 700}), unit.seen({1180, 700}));
//   unit.plug();                                 // the host finds it
//   unit.touch({640, 400});                      // pen reports from now on ...
//   clock.sleep(100ms); bus.advance(clock.now()); // ... as time goes by (or bus.runInRealTime() once)
//   unit.lift();
//   unit.play(Hand().write("LightPen", {200, 300}, 120).hold({640, 400}, 2500ms));
//   unit.faults()->unplug = UnplugPoint{.command = 'H', .occurrence = 2};
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "platform/UnitIdentifiers.h"
#include "unit/bus/Guarded.h"
#include "unit/bus/UnitSocket.h"
#include "unit/room/Hand.h"
#include "unit/room/Optics.h"
#include "unit/room/ScreenSight.h"
#include "unit/wire/Firmware.h"

namespace lightpen {

// What distinguishes one unit from another.
struct UnitDescription {
    std::size_t reportLength = 804; // of its input reports; at least 5 for whole pen reports
    DeviceInformation information = {};
    std::int32_t vendorID = kUnitVendorID;
    std::int32_t productID = kUnitFirstProductID;
    std::string vendorName = "Emulated camera unit";
    Optics optics = Optics::straight({1280, 800});
};

// All operations may be called from any thread. What is changed takes effect at the time of the socket's
// clock (without a socket: at the time of the last advance).
class CameraUnit {
public:
    using ReportHook = std::function<void(const UnitReport&)>;
    using OutputHook = std::function<void(Microseconds, std::span<const std::uint8_t>)>;
    using Action = std::function<void(CameraUnit&)>;
    // What became of an output report.
    enum class Output { taken, notRead, gone };

    // Unplugged, its flash empty, its pen lifted. The socket outlives the unit or calls leaveSocket.
    explicit CameraUnit(UnitDescription description = {}, UnitSocket* socket = nullptr);
    CameraUnit(const CameraUnit&) = delete;
    CameraUnit& operator=(const CameraUnit&) = delete;

    // As it was made; its optics are those of the start.
    const UnitDescription& description() const { return description_; }

    // The plug. Power-off brings back the power-up state; flash and pairing table stay. Plugging in what is
    // plugged in does nothing, nor does unplugging what is not.
    void plug();
    void unplug();
    bool plugged() const;

    // The pen. Each replaces what it did before.
    void touch(ScreenPoint point);
    void spotAt(CameraPoint point); // a spot at exactly this place of the camera's view
    void lift();
    // Plays the script from now on.
    void play(Hand hand);
    // How long the script still takes; 0 when none is played.
    Microseconds toPlay() const;
    // Where the pen was on the screen at this time, as far as it follows a script or touch; for measurements.
    std::optional<ScreenPoint> penOnScreen(Microseconds time) const;

    // The room and the screen.
    void strayLight(std::optional<CameraPoint> light); // a foreign infrared light, or none
    void display(DisplayedPicture picture);
    // The camera is put elsewhere: from now on it sees the screen like this. A stray light stays where it is
    // in the camera's view.
    void moveCamera(Optics optics);
    Optics optics() const;
    // The exact camera point of a screen point.
    CameraPoint seen(ScreenPoint point) const { return optics().project(point); }
    // All that lies before the camera now, for who draws it.
    Scene scene() const;

    // The unit's inside. Each holds the unit's lock for the expression it is used in.
    Guarded<Flash> flash() { return {firmware_.flash, mutex_}; }
    Guarded<PairingTable> pairingTable() { return {firmware_.pairingTable, mutex_}; }
    Guarded<DeviceInformation> information() { return {firmware_.information, mutex_}; }
    Guarded<UnitBehaviour> behaviour() { return {firmware_.behaviour, mutex_}; }
    Guarded<Faults> faults() { return {firmware_.faults, mutex_}; }
    Guarded<const Firmware> firmware() { return {firmware_, mutex_}; }

    // Runs the action with the unit at this time, in order of time among all that the unit does; an action
    // for a time that has passed runs at the next advance.
    void schedule(Microseconds when, Action action);

    // Called for each report that the unit sends, and for each output report that it takes, with the unit's
    // lock held. Empty ends it.
    void onReport(ReportHook hook);
    void onOutput(OutputHook hook);

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
    // From now on the unit has no socket (if it is still this one).
    void leaveSocket(const UnitSocket& socket);

private:
    struct Playing {
        Hand hand;
        Microseconds start{};
    };
    using Pen = std::variant<std::monostate, ScreenPoint, CameraPoint, Playing>;

    void catchUp();
    Microseconds currentTime() const;
    Microseconds advanceFirmware(Microseconds until);
    void runFirstAction();
    void setPen(Pen pen);
    Scene sceneAt(Microseconds time) const;
    std::optional<CameraPoint> penSeen(Microseconds time) const;
    void takeWaiting();
    Output take(std::span<const std::uint8_t> report);
    bool reachesUnplug(std::span<const std::uint8_t> command);
    std::optional<UnplugPoint> unplugAt(const UnitReport& reply) const;
    void send(const UnitReport& report);
    void pullPlug(Microseconds time);

    mutable std::recursive_mutex mutex_;
    const UnitDescription description_;
    UnitSocket* socket_;
    Firmware firmware_;
    bool plugged_ = false;
    Microseconds now_{};
    bool acting_ = false; // an action runs: it is now_, whatever the socket's clock says
    Pen pen_;
    Optics optics_;
    std::optional<CameraPoint> strayLight_;
    DisplayedPicture displayed_;
    std::multimap<Microseconds, Action> actions_;
    std::deque<ReportBytes> waitingOutput_; // sent by the host, not yet read
    ReportHook reportHook_;
    OutputHook outputHook_;
};

} // namespace lightpen
