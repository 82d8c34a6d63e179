// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "emulated/ScreenCapture.h"
#include "kit/TestPlatform.h"
#include "kit/Xvfb.h"
#include "kit/linux/ScreenPainter.h"
#include "unit/CameraUnit.h"
#include "unit/bus/EmulatedBus.h"

namespace lightpen {

// A unit in software that nobody has plugged in yet, in virtual time.
class UnitOnDesk : public testing::Test {
protected:
    UnitOnDesk() { bus.runOnMainLoop(); }
    void wait(Microseconds duration) { desk.runLoop.runFor(duration); }

    TestPlatform desk;
    EmulatedBus bus{desk.registry, desk.runLoop, desk.clock};
    CameraUnit& unit = bus.add<CameraUnit>({}, Optics::straight({640, 360}));
};

// The same before a real screen of 640 by 360 points, which all tests of a suite share.
class UnitAtScreen : public UnitOnDesk {
protected:
    // News of changes come in real time, which virtual time does not wait for: here every look counts.
    static void SetUpTestSuite() {
        server = std::make_unique<Xvfb>("640x360", std::vector<std::string>{"-extension", "DAMAGE"});
    }
    static void TearDownTestSuite() { server.reset(); }

    // A window over the whole screen, and a target in it with its middle there.
    void showTarget(ScreenPoint place, std::uint32_t ground, std::uint32_t colour) {
        window = painter.show({0, 0, 640, 360}, ground);
        target = painter.show({static_cast<int>(place.x) - kTargetSize / 2,
                               static_cast<int>(place.y) - kTargetSize / 2, kTargetSize, kTargetSize},
                              colour, window);
    }
    void moveTarget(ScreenPoint place) {
        painter.move(target, static_cast<std::uint32_t>(place.x) - kTargetSize / 2,
                     static_cast<std::uint32_t>(place.y) - kTargetSize / 2);
    }

    static constexpr int kTargetSize = 20;
    static inline std::unique_ptr<Xvfb> server;
    ScreenPainter painter{server->display()};
    xcb_window_t window = 0;
    xcb_window_t target = 0;
    std::string problem;
    std::unique_ptr<ScreenCapture> eyes = ScreenCapture::create(server->display().c_str(), problem);
};

} // namespace lightpen
