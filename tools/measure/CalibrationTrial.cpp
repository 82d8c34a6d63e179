// SPDX-License-Identifier: MIT
#include "measure/CalibrationTrial.h"

#include <utility>

#include "device/EventGeneratorNX7.h"
#include "emulated/ScreenWatch.h"
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
    outcome.problem = play(scene, unit, outcome);
    if (const std::string problem = unplug(unit); outcome.problem.empty())
        outcome.problem = problem;
    return outcome;
}

std::string CalibrationTrial::play(const CalibrationScene& scene, CameraUnit& unit,
                                   CalibrationOutcome& outcome) {
    auto unitsView = newCapture_();
    const auto eyes = newCapture_();
    if (!unitsView || !eyes)
        return "The screen cannot be looked at.";
    const ScreenWatch watch(std::move(unitsView), unit);
    if (std::string problem = plugIn(unit); !problem.empty())
        return problem;
    if (std::string problem = playSession(scene, unit, *eyes, outcome); !problem.empty())
        return problem;
    if (std::string problem = unplug(unit); !problem.empty())
        return problem;
    if (std::string problem = plugIn(unit); !problem.empty())
        return problem;
    const PointListRef readBack = driver().calibrationPointsFromFlash();
    outcome.readBack = readBack ? *readBack : PointList();
    const auto screen = platform_.desktop.mainScreenFrame();
    if (!screen)
        return "There is no screen.";
    std::vector<Tap> taps;
    const HeardMapping heard(desktop_.record, driver());
    std::string problem = tapAt(unevenGrid(screen->size), unit, desktop_.record, *eyes, platform_, taps);
    outcome.row.accuracy = accuracyOf(taps, unit.optics());
    return problem;
}

std::string CalibrationTrial::playSession(const CalibrationScene& scene, CameraUnit& unit,
                                          ScreenCapture& eyes, CalibrationOutcome& outcome) {
    const bool automatic = scene.session == SessionKind::automatic;
    platform_.defaults.setObject(kAutomaticKey, automatic);
    PlayedSession session(platform_, unit, eyes);
    std::string problem = session.run(
        scene.session, [this] { controller_.calibration("the demo"); },
        (pictures_ / (automatic ? "target-automatic.png" : "target-by-hand.png")).string());
    outcome.touches = session.touches();
    outcome.completions = session.completions();
    const auto written = [&] { return unit.flash()->calibrated() && !driver().delegate(); };
    if (problem.empty() && !waitUntil(platform_, written, kWritingPatience))
        problem = "The calibration was not written to the flash.";
    outcome.stored = flashPoints(unit);
    return problem;
}

std::string CalibrationTrial::plugIn(CameraUnit& unit) {
    return takeIntoUse(platform_, controller_, unit, kKnock) ? ""
                                                             : "The driver did not take the unit into use.";
}

std::string CalibrationTrial::unplug(CameraUnit& unit) {
    unit.lift();
    unit.unplug();
    return waitUntilRemoved(platform_, controller_) ? ""
                                                    : "The driver did not notice that the unit was gone.";
}

} // namespace lightpen
