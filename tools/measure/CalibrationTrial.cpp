// SPDX-License-Identifier: MIT
#include "measure/CalibrationTrial.h"

#include <utility>

#include "device/EventGeneratorNX7.h"
#include "emulated/ScreenWatch.h"
#include "measure/Requirement.h"
#include "measure/TapSeries.h"
#include "measure/UnitInUse.h"
#include "measure/Waiting.h"

namespace lightpen {

namespace {

using std::chrono::seconds;

constexpr Microseconds kWritingPatience = seconds(10);
constexpr ScreenPoint kKnock{320, 240}; // a place that every pose of the camera sees
constexpr std::uint64_t kNoiseSeed = 20;
constexpr std::string_view kAutomaticKey = "Auto Calibration";

PointList flashPoints(CameraUnit& unit) {
    const auto points = unit.flash()->points();
    return points ? PointList(points->begin(), points->end()) : PointList();
}

EventGeneratorNX7& driver() {
    return *EventGeneratorNX7::sharedEventGeneratorNX7();
}

} // namespace

CalibrationTrial::CalibrationTrial(DriverDesktop& desktop, EmulatedBus& bus,
                                   LightPenNX7Controller& controller, NewCapture newCapture,
                                   std::filesystem::path pictures)
    : desktop_(desktop), platform_(desktop.platform), bus_(bus), controller_(controller),
      newCapture_(std::move(newCapture)), pictures_(std::move(pictures)) {}

CalibrationOutcome CalibrationTrial::run(const CalibrationScene& scene) {
    CalibrationOutcome outcome;
    outcome.row.pose = scene.pose;
    outcome.row.session = scene.session == SessionKind::byHand ? "by hand" : "automatic";
    outcome.row.noise = scene.noise;
    CameraUnit& unit = bus_.add<CameraUnit>({}, Optics(scene.optics).setNoise(scene.noise, kNoiseSeed));
    const auto attempt = [&](const auto& step) {
        try {
            step();
        } catch (const std::runtime_error& problem) {
            if (outcome.problem.empty())
                outcome.problem = problem.what();
        }
    };
    attempt([&] { play(scene, unit, outcome); });
    attempt([&] { unplug(unit); });
    return outcome;
}

void CalibrationTrial::play(const CalibrationScene& scene, CameraUnit& unit, CalibrationOutcome& outcome) {
    auto unitsView = newCapture_();
    const auto eyes = newCapture_();
    require(unitsView && eyes, "The screen cannot be looked at.");
    const ScreenWatch watch(std::move(unitsView), unit);
    plugIn(unit);
    playSession(scene, unit, *eyes, outcome);
    unplug(unit);
    plugIn(unit);
    const PointListRef readBack = driver().calibrationPointsFromFlash();
    outcome.readBack = readBack ? *readBack : PointList();
    const auto screen = platform_.desktop.mainScreenFrame();
    require(screen.has_value(), "There is no screen.");
    std::vector<Tap> taps;
    const HeardMapping heard(desktop_.recording, driver());
    const std::string problem =
        tapAt(unevenGrid(screen->size), unit, desktop_.recording, *eyes, platform_, taps);
    outcome.row.accuracy = accuracyOf(taps, unit.optics());
    requireNone(problem);
}

void CalibrationTrial::playSession(const CalibrationScene& scene, CameraUnit& unit, ScreenCapture& eyes,
                                   CalibrationOutcome& outcome) {
    const bool automatic = scene.session == SessionKind::automatic;
    platform_.defaults.setObject(kAutomaticKey, automatic);
    PlayedSession session(platform_, unit, eyes);
    const std::string problem = session.run(
        scene.session, [this] { controller_.calibration("the demo"); },
        (pictures_ / (automatic ? "target-automatic.png" : "target-by-hand.png")).string());
    outcome.touches = session.touches();
    outcome.completions = session.completions();
    const auto written = [&] { return unit.flash()->calibrated() && !driver().delegate(); };
    const bool isWritten = problem.empty() && waitUntil(platform_, written, kWritingPatience);
    outcome.stored = flashPoints(unit);
    requireNone(problem);
    require(isWritten, "The calibration was not written to the flash.");
}

void CalibrationTrial::plugIn(CameraUnit& unit) {
    require(takeIntoUse(platform_, controller_, unit, kKnock), "The driver did not take the unit into use.");
}

void CalibrationTrial::unplug(CameraUnit& unit) {
    unit.lift();
    unit.unplug();
    require(waitUntilRemoved(platform_, controller_), "The driver did not notice that the unit was gone.");
}

} // namespace lightpen
