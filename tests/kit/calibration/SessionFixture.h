// SPDX-License-Identifier: MIT
#pragma once

#include <any>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calibration/KVRCalibrationCenter.h"
#include "calibration/KVRCalibrationTarget.h"
#include "calibration/KVRCalibrationWindow.h"
#include "device/EventGeneratorNX7.h"
#include "kit/RecordingLog.h"
#include "kit/ScriptedUnit.h"
#include "kit/TestPlatform.h"
#include "kit/Timeline.h"
#include "kit/device/OffscreenApplication.h"

namespace lightpen {

// As many points as asked for, in order, each far from all others and no three on a line.
PointListRef spreadPoints(std::size_t count);

// A calibration centre on a screen of 1920 by 1080, the process's own driver, and everything that happens in
// one order. The driver's point thread makes no passes of its own; most tests hand points over themselves.
class SessionFixture : public testing::Test {
protected:
    enum class Kind { manual, automatic };

    static constexpr Microseconds kGlide = std::chrono::milliseconds(800);
    // Four touches, and where the four targets stand on the fixture's screen.
    static const PointList kFour;
    static constexpr WindowPoint kOrigins[] = {{160, 995}, {1740, 995}, {160, 65}, {1740, 65}};

    SessionFixture();
    ~SessionFixture() override;

    // The driver of the process, which outlives every test.
    EventGeneratorNX7* const driver;
    TestPlatform desk;
    // What happened, in one order. Deeds are "mode 3 options 76", "hide cursor 1", "play Tink", "filter out"
    // and "filter in" for the settings command, "posted NAME", "send C" for a record of the flash.
    Timeline happened{desk.clock};
    // What is told about each entry, behind it; nothing unless set.
    std::function<std::string()> annotation;
    // Everything that happened since the last look, against tests/NAME.txt.
    testing::AssertionResult matchesTranscript(const std::string& name);

    // Plugs a unit in, anew if it is there, with this in its flash; the driver opens it. Nothing of that is
    // on the timeline.
    void openUnit(const UnitFlash& flash = {});
    // Makes this the calibration that the open unit's flash holds.
    void store(const PointList& points);
    // Hands a point over, as the point thread does.
    void touch(CameraPoint point) { center->lightPenCallbackAtPoint(point, *driver); }
    void start(Kind kind, std::int64_t targets = 4);
    void touchAll(const PointList& points = kFour);
    void pressEscape() { window()->keyDown(53); }
    // From now on each entry of the timeline tells whether the window is shown, and who gets the points.
    void annotate();
    // What the main loop has to do now.
    void runMainLoop() { desk.runLoop.runPending(); }
    // A touch, and all that follows, until the next target takes touches.
    void touchAndWait(CameraPoint point);
    // The centre's window; null when there is none.
    static KVRCalibrationWindow* window() { return topWindow<KVRCalibrationWindow>(); }
    static bool windowIsVisible() { return window() && window()->isVisible(); }
    WindowPoint targetOrigin() const { return center->calibrationTarget()->frame().origin; }

    RecordingLog log;
    ScriptedUnit unit{desk};
    std::shared_ptr<KVRCalibrationCenter> center;
    // The lists that "kCalibrationCompleted" came with.
    std::vector<PointListRef> completed;
    std::vector<Notification> canceled;
    // The point thread of the open unit.
    std::optional<PointThreadState> thread;
    // How often the unit sees stray light in each light test.
    int sightings = 0;

private:
    void closeUnit();
    void answer(const SentReport& report);

    std::string annotated(std::string_view entry) const;

    UnitFlash flash_;
};

} // namespace lightpen
