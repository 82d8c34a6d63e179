// SPDX-License-Identifier: MIT
#include "kernel/support/WebcamAtDesk.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "kernel/support/DriverLines.h"
#include "kernel/support/InstalledProgram.h"
#include "kit/Eventually.h"
#include "measure/Accuracy.h"
#include "measure/desktop/Patience.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Seen = CanvasEvent::Kind;

// A film lets the pen's light through, and next to nothing of the projection's.
constexpr double kThroughFilm = 16;
constexpr seconds kSessionPatience{90};
constexpr double kDragSpeed = 700;                // points a second
constexpr Microseconds kRest = milliseconds(150); // where a stroke begins and ends
constexpr milliseconds kPressPatience{5000};
// Those that show the pen have been read when so many more have been written.
constexpr unsigned long kPicturesUnderWay = 6;
constexpr int kPollsWithoutPen = 3;
constexpr const char* kLampFound = "Camera: the pen's light is"; // the cross was touched
constexpr Microseconds kTouch = milliseconds(400);
constexpr Microseconds kAfterTouch = milliseconds(700);
constexpr const char* kNoSpot = "Event n:1537 ( 0, 0)"; // the driver's line for a report without a spot
// What a lifted pen has done has been seen once nothing more has come for so long.
constexpr Microseconds kQuiet = milliseconds(600);

double distanceToLine(ScreenPoint point, ScreenPoint from, ScreenPoint to) {
    const ScreenPoint along{to.x - from.x, to.y - from.y};
    const double length = along.x * along.x + along.y * along.y;
    const double part =
        length > 0
            ? std::clamp(((point.x - from.x) * along.x + (point.y - from.y) * along.y) / length, 0.0, 1.0)
            : 0;
    return distance(point, ScreenPoint{from.x + part * along.x, from.y + part * along.y});
}

// What the canvas saw of one stroke.
struct StrokeSeen {
    std::size_t presses = 0;
    std::size_t releases = 0;
    std::vector<double> distances;
};

// The driver cuts a place to the pixel that it lies in.
ScreenPoint middleOf(ScreenPoint pixel) {
    return {pixel.x + 0.5, pixel.y + 0.5};
}

StrokeSeen seenOf(const HandTouch& touch, const std::vector<CanvasEvent>& events) {
    StrokeSeen seen;
    for (const CanvasEvent& event : events) {
        if (event.time < touch.start || event.time >= touch.end)
            continue;
        seen.presses += event.kind == Seen::press ? 1 : 0;
        seen.releases += event.kind == Seen::release ? 1 : 0;
        if (event.kind == Seen::press || event.kind == Seen::release || event.kind == Seen::move)
            seen.distances.push_back(distanceToLine(middleOf(event.position), touch.first, *touch.last));
    }
    return seen;
}

void append(std::vector<double>& all, const std::vector<double>& more) {
    all.insert(all.end(), more.begin(), more.end());
}

} // namespace

void WebcamAtDesk::enter(const CameraMode& mode, const RoomLight& light, SessionKind kind,
                         const Optics& optics) {
    calibration = kind;
    room = std::make_unique<CameraRoom>(mode, kScreen, optics, clock, desk.look());
    room->setLight(light);
    permit();
    DriverOptions options;
    options.environment = desk.environment();
    options.program = installedProgram(LIGHTPEN_WEBCAM_PROGRAM);
    options.arguments = {"--log", "stderr", "--camera", room->node()};
    options.settings =
        std::string("Auto%20Calibration=") + (kind == SessionKind::automatic ? "true" : "false") + "\n";
    ASSERT_NO_FATAL_FAILURE(startDriver(std::move(options)));
    menu = desk.awaitMenu();
    ASSERT_TRUE(menu);
    ASSERT_TRUE(comesTrue([this] {
        const auto root = menu->layout();
        return root && root->child("Calibration");
    })) << "there is no unit; "
        << room->problem();
}

void WebcamAtDesk::permit() const {
    settleUdev();
    std::filesystem::permissions(room->node(), std::filesystem::perms(0666));
}

void WebcamAtDesk::plugCameraIn() {
    room->plugIn();
    permit();
}

void WebcamAtDesk::touchTargets(const std::function<bool()>& completed) {
    const auto eyes = desk.look();
    EXPECT_GE(desk.touchTargets({[this](const Hand& hand) { perform(hand); }, *eyes, clock, desk.kContact},
                                completed),
              4);
}

// The program shows it once it has stored the points, which takes a while.
void WebcamAtDesk::touchCross() {
    constexpr int kMostTouches = 20;
    for (int touch = 0; touch < kMostTouches && driver->count(kLampFound) == 0; ++touch) {
        const Hand hand = Hand().tap({kScreen.width / 2, kScreen.height / 2}, kTouch);
        perform(hand);
        runLoop.runFor(hand.duration() + kAfterTouch);
    }
    ASSERT_GT(driver->count(kLampFound), 0U) << "nobody has asked for a touch of the cross";
}

void WebcamAtDesk::calibrate() {
    RoomLight film = room->light();
    film.screen = kThroughFilm;
    const std::size_t before = driver->count(kCompleted);
    const auto completed = [&] { return driver->count(kCompleted) > before; };
    const bool byHand = calibration == SessionKind::byHand;
    if (byHand)
        room->setLight(film);
    ASSERT_TRUE(menu->click({"Calibration"}));
    if (byHand)
        touchTargets(completed);
    ASSERT_TRUE(comesTrue(completed, kSessionPatience)) << "the calibration was not completed";
    room->setLight(film);
    if (!byHand) {
        ASSERT_NO_FATAL_FAILURE(touchCross());
    }
    ASSERT_NO_FATAL_FAILURE(awaitUsable());
    forget();
}

void WebcamAtDesk::draw(std::size_t count) {
    const std::vector<ScreenPoint> places = unevenGrid(kScreen);
    const auto place = [&](std::size_t number) {
        const ScreenPoint point = places[number % places.size()];
        return middleOf({std::floor(point.x), std::floor(point.y)});
    };
    for (std::size_t stroke = 0; stroke < count; ++stroke)
        drawStroke(place(stroke), place(stroke % 2 == 0 ? stroke : stroke * 7 + 13));
}

// A stroke's end is when it has been seen, however late the machine is.
void WebcamAtDesk::drawStroke(ScreenPoint from, ScreenPoint to) {
    const Microseconds start = clock.now();
    perform(Hand().press(from).stay(kPressPatience));
    const auto wait = [this] { runLoop.runFor(milliseconds(5)); };
    eventually([&] { return pressesSince(start) > 0; }, wait, kPressPatience);
    const Hand rest = Hand().press(from).stay(kRest).moveTo(to, kDragSpeed).stay(kRest).lift({});
    perform(rest);
    runLoop.runFor(rest.duration());
    awaitLift();
    for (std::size_t seen = 0; seen != canvas.events().size();) {
        becomes(0, start);
        seen = canvas.events().size();
        runLoop.runFor(kQuiet);
    }
    touches.push_back({start, clock.now(), from, to});
}

// Counted in pictures and polls: time says nothing of a machine that is held up.
void WebcamAtDesk::awaitLift() {
    const auto wait = [this] { runLoop.runFor(milliseconds(5)); };
    const unsigned long written = room->pictures() + kPicturesUnderWay;
    eventually([&] { return room->pictures() >= written; }, wait);
    for (int polls = 0; polls < kPollsWithoutPen; ++polls) {
        driver->skipLog();
        driver->waitFor(kNoSpot);
    }
}

void WebcamAtDesk::forget() {
    drawnFrom = clock.now();
    picturesBefore = room->pictures();
    touches.clear();
}

WebcamFigures WebcamAtDesk::figures(const std::string& name) {
    const auto& events = canvas.events();
    WebcamFigures figures;
    figures.strokes = touches.size();
    figures.strays = pressesSince(drawnFrom);
    std::vector<double> taps;
    std::vector<double> drags;
    for (const HandTouch& touch : touches) {
        const StrokeSeen seen = seenOf(touch, events);
        figures.arrived += seen.presses > 0 && seen.presses == seen.releases ? 1 : 0;
        figures.whole += seen.presses == 1 && seen.releases == 1 ? 1 : 0;
        figures.strays -= seen.presses;
        append(touch.first == *touch.last ? taps : drags, seen.distances);
    }
    figures.taps = spreadOf(taps);
    figures.drags = spreadOf(drags);
    const double perSecond = static_cast<double>(room->pictures() - picturesBefore) /
                             std::chrono::duration<double>(clock.now() - drawnFrom).count();
    std::printf(
        "%-44s %3zu strokes: %3zu arrived, %3zu whole, %zu strays, %.1f pictures a second; off by, median / "
        "p95 / worst: taps %.2f / %.2f / %.2f, drags %.2f / %.2f / %.2f\n",
        name.c_str(), figures.strokes, figures.arrived, figures.whole, figures.strays, perSecond,
        figures.taps.median, figures.taps.percentile95, figures.taps.worst, figures.drags.median,
        figures.drags.percentile95, figures.drags.worst);
    return figures;
}

void WebcamAtDesk::expectToDraw(const std::string& name, std::size_t count) {
    draw(count);
    const WebcamFigures all = figures(name);
    EXPECT_EQ(all.arrived, all.strokes);
    EXPECT_EQ(all.strays, 0U);
    EXPECT_GT(all.taps.count, 0U);
    EXPECT_LE(all.taps.worst, kMostOff);
    EXPECT_GT(all.drags.count, 0U);
    EXPECT_LE(all.drags.percentile95, kMostOff);
}

} // namespace lightpen
