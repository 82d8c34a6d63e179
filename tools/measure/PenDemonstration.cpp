// SPDX-License-Identifier: MIT
#include "measure/PenDemonstration.h"

#include <cstdio>

#include "emulated/UnitControl.h"
#include "measure/UnitInUse.h"
#include "measure/Waiting.h"

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr Microseconds kSettled = milliseconds(400); // what was posted has arrived by then
constexpr Microseconds kMenuClosed = milliseconds(1200);
constexpr Microseconds kLongPress = milliseconds(2500);

constexpr const char* kEnded = "The demo was ended before it was over.";

} // namespace

PenDemonstration::PenDemonstration(Platform& platform, EmulatedBus& bus, CanvasProcess& canvas)
    : platform_(platform), canvas_(canvas), screen_(canvas.size()),
      unit_(bus.add<CameraUnit>({}, Optics::strongKeystone(screen_))),
      controller_(std::make_shared<LightPenNX7Controller>()) {}

std::string PenDemonstration::run() {
    storeCalibration(unit_, screen_);
    controller_->awakeFromNib();
    std::string problem = plugIn("Plugging in the unit...");
    for (auto part : {&PenDemonstration::writeAndDrag, &PenDemonstration::holdAndTouchBeside,
                      &PenDemonstration::interruptStroke, &PenDemonstration::tapEverywhere})
        if (problem.empty())
            problem = (this->*part)();
    return problem;
}

std::string PenDemonstration::plugIn(const char* message) {
    say(message);
    const ScreenPoint middle{screen_.width / 2, screen_.height / 2};
    return takeIntoUse(platform_, *controller_, unit_, middle) ? ""
                                                               : "The driver did not take the unit into use.";
}

std::string PenDemonstration::writeAndDrag() {
    say("Writing a word and dragging...");
    const double width = screen_.width;
    const double height = screen_.height;
    return play(Hand()
                    .write("LightPen", {0.14 * width, 0.22 * height}, 0.24 * height)
                    .drag({{0.15 * width, 0.62 * height},
                           {0.38 * width, 0.68 * height},
                           {0.62 * width, 0.57 * height},
                           {0.86 * width, 0.63 * height}},
                          1100));
}

std::string PenDemonstration::holdAndTouchBeside() {
    say("Holding still, for a right click...");
    if (std::string problem = play(Hand().hold({0.22 * screen_.width, 0.8 * screen_.height}, kLongPress));
        !problem.empty())
        return problem;
    platform_.runLoop.runFor(kMenuClosed);
    say("Touching left of, right of, above and below the screen...");
    return play(Hand()
                    .touchBeside(Hand::Side::left, screen_)
                    .touchBeside(Hand::Side::right, screen_)
                    .touchBeside(Hand::Side::above, screen_)
                    .touchBeside(Hand::Side::below, screen_));
}

std::string PenDemonstration::interruptStroke() {
    say("Pulling the unit out in the middle of a stroke...");
    const ScreenPoint from{0.45 * screen_.width, 0.78 * screen_.height};
    const Hand hand = Hand().drag({from, {0.8 * screen_.width, 0.83 * screen_.height}}, 400);
    const Microseconds start = platform_.clock.now();
    unit_.play(hand);
    platform_.runLoop.runFor(hand.duration() / 2);
    unit_.unplug();
    unit_.lift();
    touches_.push_back({start, platform_.clock.now(), from, std::nullopt, false});
    if (!waitUntilRemoved(platform_, *controller_))
        return "The driver did not notice that the unit was gone.";
    return plugIn("Plugging it in again...");
}

std::string PenDemonstration::tapEverywhere() {
    say("Tapping all over the screen...");
    Hand hand;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            hand.tap({(0.03 + 0.31 * column + 0.004 * row) * screen_.width,
                      (0.05 + 0.41 * row + 0.007 * column) * screen_.height});
    return play(hand);
}

std::string PenDemonstration::play(const Hand& hand) {
    const Microseconds start = platform_.clock.now();
    unit_.play(hand);
    noteTouches(hand, start);
    if (!waitUntil(
            platform_, [this] { return unit_.toPlay() == Microseconds::zero(); },
            hand.duration() + seconds(5)))
        return kEnded;
    platform_.runLoop.runFor(kSettled);
    return platform_.runLoop.terminating() ? kEnded : "";
}

void PenDemonstration::noteTouches(const Hand& hand, Microseconds start) {
    for (const Hand::Touch& touch : hand.touches()) {
        touches_.push_back({start + touch.start, start + touch.end, touch.first, touch.last,
                            touch.end - touch.start >= kLongPress});
        canvas_.command("hand " + std::to_string(touch.first.x) + " " + std::to_string(touch.first.y));
    }
}

void PenDemonstration::say(const char* message) {
    std::puts(message);
    std::fflush(stdout);
}

} // namespace lightpen
