// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "calibration/Calibrator.h"
#include "calibration/CollectedPoints.h"
#include "calibration/TargetGrid.h"
#include "device/PointList.h"
#include "device/Protocols.h"
#include "platform/Color.h"
#include "platform/Notifications.h"
#include "platform/Screen.h"
#include "platform/Shared.h"
#include "platform/Sounds.h"
#include "platform/SystemUI.h"

namespace lightpen {

class KVRCalibrationTarget;
class KVRCalibrationWindow;
class ViewAnimation;
struct StepLayout;

// Posted after the last target; the object is the centre, and the user information holds the points
// (a PointListRef) under kCalibrationPoints.
inline constexpr std::string_view kCalibrationCompleted = "kCalibrationCompleted";
inline constexpr std::string_view kCalibrationPoints = "kCalibrationPoints";

// Holds a calibration and maps camera points to the screen with it; and runs sessions that make a new one: a
// full-screen window shows one target after the other, and the point thread hands over what the camera saw
// at each. Main thread, but for what says otherwise. Needs the platform and Qt's application object. A centre
// that runs sessions is owned by a shared pointer.
class KVRCalibrationCenter final : public KVRCalibrationProtocol,
                                   public EventGeneratorNX7CallbackProtocol,
                                   public std::enable_shared_from_this<KVRCalibrationCenter> {
public:
    // The calibrators of this moment; they never change while they are held.
    using CalibratorList = std::vector<std::shared_ptr<const Calibrator>>;
    using CalibratorListRef = std::shared_ptr<const CalibratorList>;

    // One centre for whoever has none, on the first screen; made on first use, never freed.
    static const std::shared_ptr<KVRCalibrationCenter>& defaultCenter();
    // The mode is stored and returned only, and so is the colour. Without a screen its size counts as 0.
    KVRCalibrationCenter(std::int32_t mode, std::optional<Color> backgroundColor,
                         std::uint32_t targetBezelStyle, std::optional<Screen> screen);
    ~KVRCalibrationCenter() override;
    KVRCalibrationCenter(const KVRCalibrationCenter&) = delete;
    KVRCalibrationCenter& operator=(const KVRCalibrationCenter&) = delete;

    // --- Properties (KVRCalibrationCenter.cpp). Setters of the colour, the screen and the beep
    // ignore none, those of the beep and the target what is equal.

    // As it was given.
    std::int32_t mode() const { return _mode; }
    // Held, and not used for drawing.
    void setBackgroundColor(std::optional<Color> color);
    std::optional<Color> backgroundColor() const { return _backgroundColor; }
    // The target's own properties; without a target there are none, and nothing is set.
    void setTargetBackgroundColor(std::optional<Color> color);
    std::optional<Color> targetBackgroundColor() const;
    void setTargetBezelStyle(std::uint32_t bezelStyle);
    std::uint32_t targetBezelStyle() const;
    // In points.
    void setTargetSize(Size size);
    // (0, 0) without a target. Any thread.
    Size targetSize() const;
    // Replaces the target, in the window too. With null there is none; sessions then show none.
    void setCalibrationTarget(std::shared_ptr<KVRCalibrationTarget> target);
    std::shared_ptr<KVRCalibrationTarget> calibrationTarget() const { return _calibrationTarget; }
    // The screen that calibrations are shown on. Calibrators that exist are not made anew.
    void setCalibrationScreen(std::optional<Screen> screen);
    // With the frame that the desktop gives this screen now, while it has one of this name.
    std::optional<Screen> calibrationScreen() const;
    // What is heard when a target is ready.
    void setCalibrationBeep(const SoundRef& sound);
    SoundRef calibrationBeep() const { return _calibrationBeep; } // null before the first

    // --- The calibration and its mapping (CalibrationMapping.cpp)

    // Sets the grid for so many targets and drops all calibrators.
    void setTotalPoints(std::int64_t totalPoints);
    std::int64_t totalPoints() const { return _totalPoints; } // 0 before the first
    // Sets the grid alone.
    void setCalibrationRows(std::int64_t rows, std::int64_t columns);
    // Takes a calibration: its number of targets, its points and the calibrators made of them. Null counts as
    // an empty list, which has no calibrators.
    void setCalibrationPoints(const PointListRef& points);
    // Those of the session under way, else of the calibration; null before the first. Any thread.
    PointListRef calibrationPoints() const;
    // Adds the calibrators of the points to those that are there. A list that does not reach the end of its
    // grid adds none and is logged.
    void createCalibrator();
    // A calibrator for one cell, its points row by row: upper left, upper right, lower left, lower right.
    std::shared_ptr<Calibrator> calibratorWithPoints(const std::array<CameraPoint, 4>& points,
                                                     const ScreenRect& destinationRectangle) const;
    // Row by row, one for each cell of the grid. Any thread.
    CalibratorListRef calibrators() const { return calibrators_; }
    // The point on the screen, by the first calibrator; beyond the screen's lower right corner without one.
    // Point thread.
    ScreenPoint mapPointFrom(CameraPoint point) override;

    // --- Sessions (CalibrationSession.cpp)

    // Begin a session of totalPoints() targets; one that is under way is over then. The automatic one has the
    // camera look at the targets themselves.
    void startCalibration();
    void startAutoCalibration();
    // Where the target stands in the window at a step, counted from 0.
    WindowPoint targetOriginOfStep(std::int64_t step) const;
    // Goes to the next target, or completes the session; nothing without one.
    void nextTarget();
    // Nothing schedules the timer.
    void timerFired(const std::string& timer);
    // Ends the session without a result: the calibration that the unit has stored is in force again.
    void calibrationDidCancel(const Notification& notification);
    // Asks for the session under way to be cancelled as by the user. Any thread.
    void cancelSession();
    // Shows the cursor again that an automatic session has hidden.
    void windowWillClose(const Notification& notification);

    // --- Touches and glides (CalibrationTouch.cpp)

    // Takes the point for the target that is shown, unless the target is moving or the point repeats an
    // earlier one. Point thread.
    void lightPenCallbackAtPoint(CameraPoint point, EventGeneratorNX7& fromObject) override;
    // Always false. Any thread.
    bool shouldGenerateMouseEventAtPoint(ScreenPoint point) const;
    // Lets the target glide to its place; touches are taken again at its end.
    void startAnimation();
    // Beeps, and lets touches in.
    void animationDidEnd(const ViewAnimation& animation);

private:
    using SessionRef = std::shared_ptr<CollectedPoints>;
    enum class Kind { manual, automatic };

    void setGridFor(std::int64_t totalPoints);
    void addCalibrators(CalibratorList& list, const PointListRef& points) const;
    static ScreenPoint smallestOf(const CalibratorList& list, CameraPoint point);
    Size screenSize() const;
    StepLayout stepLayout() const;

    void beginSession(Kind kind);
    void takeOverSystemUI();
    void makeWindow();
    void showTarget();
    void complete(const CollectedPoints& session);
    void endSession();
    void stopAnimation();
    void closeWindow();
    void restoreSystemUI();
    void playBeep() const;
    void performForSession(const SessionRef& session, const char* selector,
                           void (KVRCalibrationCenter::*operation)());
    void cancelByWindow();

    const std::int32_t _mode;
    std::optional<Color> _backgroundColor;
    std::shared_ptr<KVRCalibrationWindow> _calibrationWindow; // made by the first session
    std::shared_ptr<KVRCalibrationTarget> _calibrationTarget;
    std::optional<Screen> _calibrationScreen;
    std::int32_t _calibrationStep = 0;
    SystemUIMode _oldMode = kUIModeNormal;
    SystemUIOptions _oldOptions = 0;
    SharedRecord<PointListRef> _calibrationPoints;
    SoundRef _calibrationBeep;
    std::int64_t _totalPoints = 0;
    std::int64_t _rows = 0;
    std::int64_t _columns = 0;
    SharedReference<const CalibratorList> calibrators_{std::make_shared<const CalibratorList>()};
    bool autoCalibration = false;
    // What a delayed "timerFired" would be asked for with.
    std::string calibrationTimer;
    SharedFlag _canProcessLightPenSignal{false}; // written by the main thread

    // The session under way; null when there is none. Written by the main thread.
    SharedReference<CollectedPoints> session_;
    std::shared_ptr<ViewAnimation> animation_; // the last one of the session
    // The target's, for the point thread.
    SharedReference<const SharedRecord<WindowRect>> targetFrame_;
};

} // namespace lightpen
