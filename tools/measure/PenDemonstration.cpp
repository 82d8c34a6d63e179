// SPDX-License-Identifier: MIT
#include "measure/PenDemonstration.h"

#include <cstdio>

#include "emulated/UnitControl.h"
#include "measure/Requirement.h"
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
    try {
        plugIn("Plugging in the unit...");
        writeAndDrag();
        holdAndTouchBeside();
        interruptStroke();
        tapEverywhere();
    } catch (const std::runtime_error& problem) {
        return problem.what();
    }
    return {};
}

void PenDemonstration::plugIn(const char* message) {
    say(message);
    require(takeIntoUse(platform_, *controller_, unit_, {screen_.width / 2, screen_.height / 2}),
            "The driver did not take the unit into use.");
}

void PenDemonstration::writeAndDrag() {
    say("Writing a word and dragging...");
    const double width = screen_.width;
    const double height = screen_.height;
    play(Hand()
             .write("LightPen", {0.14 * width, 0.22 * height}, 0.24 * height)
             .drag({{0.15 * width, 0.62 * height},
                    {0.38 * width, 0.68 * height},
                    {0.62 * width, 0.57 * height},
                    {0.86 * width, 0.63 * height}},
                   1100));
}

void PenDemonstration::holdAndTouchBeside() {
    say("Holding still, for a right click...");
    play(Hand().hold({0.22 * screen_.width, 0.8 * screen_.height}, kLongPress));
    platform_.runLoop.runFor(kMenuClosed);
    say("Touching left of, right of, above and below the screen...");
    Hand hand;
    for (const auto side : {Hand::Side::left, Hand::Side::right, Hand::Side::above, Hand::Side::below})
        hand.touchBeside(side, screen_);
    play(hand);
}

void PenDemonstration::interruptStroke() {
    say("Pulling the unit out in the middle of a stroke...");
    const ScreenPoint from{0.45 * screen_.width, 0.78 * screen_.height};
    const Hand hand = Hand().drag({from, {0.8 * screen_.width, 0.83 * screen_.height}}, 400);
    const Microseconds start = platform_.clock.now();
    unit_.play(hand);
    platform_.runLoop.runFor(hand.duration() / 2);
    unit_.unplug();
    unit_.lift();
    touches_.push_back({start, platform_.clock.now(), from, std::nullopt, false});
    require(waitUntilRemoved(platform_, *controller_), "The driver did not notice that the unit was gone.");
    plugIn("Plugging it in again...");
}

void PenDemonstration::tapEverywhere() {
    say("Tapping all over the screen...");
    Hand hand;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            hand.tap({(0.03 + 0.31 * column + 0.004 * row) * screen_.width,
                      (0.05 + 0.41 * row + 0.007 * column) * screen_.height});
    play(hand);
}

void PenDemonstration::play(const Hand& hand) {
    const Microseconds start = platform_.clock.now();
    unit_.play(hand);
    noteTouches(hand, start);
    const auto over = [this] { return unit_.toPlay() == Microseconds::zero(); };
    require(waitUntil(platform_, over, hand.duration() + seconds(5)), kEnded);
    platform_.runLoop.runFor(kSettled);
    require(!platform_.runLoop.terminating(), kEnded);
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
