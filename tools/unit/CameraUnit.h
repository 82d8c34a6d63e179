// SPDX-License-Identifier: MIT
// A whole camera unit in software: the wire side, and before its camera a screen and a hand.
//
//   EmulatedBus bus(registry, runLoop, clock);
//   CameraUnit& unit = bus.add<CameraUnit>({.reportLength = 804}, Optics::strongKeystone({1280, 800}));
//   unit.flash()->store(unit.seen({100, 100}), unit.seen({1180, 100}),
//                       unit.seen({100, 700}), unit.seen({1180, 700}));
//   unit.plug();                                 // the host finds it
//   unit.touch({640, 400});                      // pen reports from now on ...
//   clock.sleep(100ms); bus.advance(clock.now()); // ... as time goes by (or bus.runInRealTime() once)
//   unit.lift();
//   unit.play(Hand().write("LightPen", {200, 300}, 120).hold({640, 400}, 2500ms));
//   unit.faults()->unplug = UnplugPoint{.command = 'H', .occurrence = 2};
#pragma once

#include <functional>
#include <optional>
#include <variant>

#include "unit/bus/SoftwareUnit.h"
#include "unit/faults/Faults.h"
#include "unit/room/Hand.h"
#include "unit/room/Optics.h"
#include "unit/room/ScreenSight.h"

namespace lightpen {

// A unit whose eye is an emulated camera: it looks at a screen, at the pen of an emulated hand and at what
// else there is in the room.
class CameraUnit final : private Eye, public SoftwareUnit {
public:
    // Its pen is lifted. See SoftwareUnit.
    explicit CameraUnit(UnitDescription description = {}, UnitSocket* socket = nullptr,
                        const Optics& optics = Optics::straight({1280, 800}));

    // What is wrong with it. Holds the unit's lock for the expression it is used in.
    Guarded<Faults> faults() { return guarded(wire_.faults); }

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

    // As of every unit; the action is handed this one.
    using SoftwareUnit::schedule;
    void schedule(Microseconds when, std::function<void(CameraUnit&)> action);

private:
    struct Playing {
        Hand hand;
        Microseconds start{};
    };
    using Pen = std::variant<std::monostate, ScreenPoint, CameraPoint, Playing>;

    Scene look(Microseconds time) override { return sceneAt(time); }
    Picture picture(Microseconds time) override;
    void set(const EyeSettings& settings) override { filterOut_ = settings.filterOut; }
    void setPen(Pen pen);
    Scene sceneAt(Microseconds time) const;
    std::optional<CameraPoint> penSeen(Microseconds time) const;

    // With the unit's lock held.
    FaultyWire wire_;
    bool filterOut_ = false;
    Pen pen_;
    Optics optics_;
    std::optional<CameraPoint> strayLight_;
    DisplayedPicture displayed_;
};

} // namespace lightpen
