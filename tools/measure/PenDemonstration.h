// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/LightPenNX7Controller.h"
#include "measure/CanvasProcess.h"
#include "measure/Recording.h"
#include "platform/Platform.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {

// What the demo shows: a calibrated unit is plugged in, a hand writes, drags, holds and touches beside the
// screen, the unit is pulled out in the middle of a stroke and put back, and the hand goes on. Main thread.
class PenDemonstration {
public:
    // Everything outlives this object. The bus runs in real time.
    PenDemonstration(Platform& platform, EmulatedBus& bus, CanvasProcess& canvas);

    // Runs all of it. Returns what went wrong, empty when nothing did.
    std::string run();
    // What the hand did so far, in order of time.
    const std::vector<HandTouch>& touches() const { return touches_; }

private:
    // Each throws std::runtime_error with what went wrong.
    void plugIn(const char* message);
    void writeAndDrag();
    void holdAndTouchBeside();
    void interruptStroke();
    void tapEverywhere();
    void play(const Hand& hand);
    void noteTouches(const Hand& hand, Microseconds start);
    void say(const char* message);

    Platform& platform_;
    CanvasProcess& canvas_;
    const Size screen_;
    CameraUnit& unit_;
    std::shared_ptr<LightPenNX7Controller> controller_;
    std::vector<HandTouch> touches_;
};

} // namespace lightpen
