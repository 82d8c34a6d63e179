// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "calibration/CalibratedScreen.h"
#include "calibration/Calibrator.h"
#include "calibration/CollectedPoints.h"
#include "device/PointList.h"
#include "device/Protocols.h"
#include "platform/Color.h"
#include "platform/Notifications.h"
#include "platform/Screen.h"
#include "platform/Shared.h"
#include "platform/Sounds.h"
#include "platform/SystemUI.h"
#include "platform/Time.h"

namespace lightpen {

class KVRCalibrationTarget;
class KVRCalibrationWindow;
class ViewAnimation;

// Posted after the last target; the object is the centre, and the user information holds the points
// (a PointListRef) under kCalibrationPoints.
inline constexpr std::string_view kCalibrationCompleted = "kCalibrationCompleted";
inline constexpr std::string_view kCalibrationPoints = "kCalibrationPoints";

// Holds a calibration and maps camera points to the screen with it. It also runs the sessions that make a new
// calibration: a full-screen window shows one target after the other, and the point thread hands over what
// the camera saw at each. Main thread, unless an operation says otherwise. Needs the platform and Qt's
// application object. A centre that runs sessions is owned by a shared pointer.
class KVRCalibrationCenter final : public KVRCalibrationProtocol,
                                   public EventGeneratorNX7CallbackProtocol,
                                   public std::enable_shared_from_this<KVRCalibrationCenter> {
public:
    // The calibrators of this moment; they never change while they are held.
    using CalibratorList = std::vector<std::shared_ptr<const Calibrator>>;
    using CalibratorListRef = std::shared_ptr<const CalibratorList>;

    // The mode and the colour are stored and returned only. The bezel style is the target's. A missing screen
    // counts as one of size 0.
    KVRCalibrationCenter(std::int32_t mode, std::optional<Color> backgroundColor,
                         std::uint32_t targetBezelStyle, std::optional<Screen> screen);
    ~KVRCalibrationCenter() override;
    KVRCalibrationCenter(const KVRCalibrationCenter&) = delete;
    KVRCalibrationCenter& operator=(const KVRCalibrationCenter&) = delete;

    // --- The calibration and its mapping (CalibrationMapping.cpp)

    // The point on the screen, by the first calibrator. Without a calibrator it lies beyond the screen's
    // lower right corner. Point thread.
    ScreenPoint mapPointFrom(CameraPoint point) override;
    // Takes a calibration: its number of targets, its points and the calibrators made of them. Null counts as
    // an empty list, which gives no calibrators.
    void setCalibrationPoints(const PointListRef& points);
    // The points of the session under way, otherwise those of the calibration; null before the first. Any
    // thread.
    PointListRef calibrationPoints() const;
    // Sets the number of targets and their grid, and drops all calibrators.
    void setTotalPoints(std::int64_t totalPoints);
    std::int64_t totalPoints() const { return _totalPoints; } // 0 before the first
    // Sets the grid alone.
    void setCalibrationRows(std::int64_t rows, std::int64_t columns);
    // Adds the calibrators of the points to the list. Points that are too few for the grid add nothing and
    // give a log line.
    void createCalibrator();
    // A calibrator for one cell, its points row by row: upper left, upper right, lower left, lower right.
    std::shared_ptr<Calibrator> calibratorWithPoints(const std::array<CameraPoint, 4>& points,
                                                     const ScreenRect& destinationRectangle) const;
    // Row by row, one for each cell of the grid. Any thread.
    CalibratorListRef calibrators() const { return calibrators_; }

    // --- Sessions (CalibrationSession.cpp)

    // Both begin a session of totalPoints() targets; a session under way is over then. The automatic one lets
    // the camera look at the targets themselves.
    void startCalibration();
    void startAutoCalibration();
    // Takes the point for the target that is shown, unless the target is moving or the point repeats an
    // earlier one. Point thread.
    void lightPenCallbackAtPoint(CameraPoint point, EventGeneratorNX7& fromObject) override;
    // Goes to the next target, or completes the session. Does nothing without a session.
    void nextTarget();
    // Where the target stands in the window at a step, counted from 0.
    WindowPoint targetOriginOfStep(std::int64_t step) const;
    // Lets the target glide to its place; touches are taken again at the end.
    void startAnimation();
    // Beeps, and takes touches from now on.
    void animationDidEnd(const ViewAnimation& animation);
    // Ends the session without a result: the calibration that the unit has stored is in force again.
    void calibrationDidCancel(const Notification& notification);
    // Asks for the session under way to be cancelled as by the user, with a log line where there is a reason:
    // a literal. Any thread.
    void cancelSession(const char* reason = nullptr);
    // Whether a session is under way. Any thread.
    bool inSession() const { return session_.load() != nullptr; }
    // Called when a session has begun, and when it is over. Main thread.
    void setSessionObserver(std::function<void()> changed) { sessionChanged_ = std::move(changed); }
    // What a session by hand shows where a click of the mouse ends it, from the next one on; empty for no
    // such place. In an automatic one, where the camera must see nothing beside the target, a click anywhere
    // does.
    void setCancelLabel(std::string label) { cancelLabel_ = std::move(label); }
    // What a session by hand says above its targets, from the next one on; empty for nothing.
    void setTouchHint(std::string hint) { touchHint_ = std::move(hint); }
    // The program ends: what a session has changed in the unit is put back. Windows end with the program.
    void programEnds();
    // How long a session waits for a touch before it is cancelled: it holds the keyboard meanwhile.
    static constexpr Microseconds kPatience = std::chrono::minutes(3);
    // Shows the cursor again that an automatic session has hidden.
    void windowWillClose(const Notification& notification);

    // --- The target, the screen and the beep (KVRCalibrationCenter.cpp)

    // Replaces the target, in the window too. With null, sessions show none.
    void setCalibrationTarget(std::shared_ptr<KVRCalibrationTarget> target);
    std::shared_ptr<KVRCalibrationTarget> calibrationTarget() const { return _calibrationTarget; }
    // In points; (0, 0) without a target. Any thread.
    Size targetSize() const;
    // The screen for calibrations; a missing one is ignored. Existing calibrators stay as they are. The
    // desktop's main screen stands for whatever is the main screen later.
    void setCalibrationScreen(std::optional<Screen> screen);
    // As the desktop has it now. A session under way stays on the screen on which it began.
    std::optional<Screen> calibrationScreen() const;
    // Makes the calibrators anew where the screen is not as it was. A session whose screen has left or
    // changed is cancelled as by the user.
    void screensDidChange();
    // What is heard when a target is ready. Null, and a sound equal to the present one, are ignored.
    void setCalibrationBeep(const SoundRef& sound);

private:
    using SessionRef = std::shared_ptr<CollectedPoints>;
    enum class Kind { manual, automatic };

    void setGridFor(std::int64_t totalPoints);
    void addCalibrators(CalibratorList& list, const PointListRef& points);
    void setCalibrators(CalibratorListRef list);
    static ScreenPoint smallestOf(const CalibratorList& list, CameraPoint point);
    CalibratedScreen screenOfNow() const;
    Size sizeForTargets() const;

    void beginSession(Kind kind);
    void takeOverSystemUI();
    void makeWindow();
    void placeFirstTarget();
    WindowPoint originOfStep(std::int64_t step) const;
    void windowDidResize();
    void checkScreenOfSession();
    void showTarget();
    void complete(const CollectedPoints& session);
    void endSession();
    void stopAnimation();
    void closeWindow();
    void playBeep() const;
    void endWhenUntouched(const SessionRef& session, Microseconds wait);
    std::function<void()> forSession(const SessionRef& session,
                                     std::function<void(KVRCalibrationCenter&)> operation);
    void performForSession(const SessionRef& session, const char* selector,
                           std::function<void(KVRCalibrationCenter&)> operation);

    std::shared_ptr<KVRCalibrationWindow> _calibrationWindow; // made by the first session
    std::shared_ptr<KVRCalibrationTarget> _calibrationTarget;
    std::optional<Screen> _calibrationScreen;
    std::int32_t _calibrationStep = 0;
    SystemUIMode _oldMode = kUIModeNormal; // the user's, while a session has taken over
    SystemUIOptions _oldOptions = 0;
    SharedReference<const PointList> _calibrationPoints;
    SoundRef _calibrationBeep;
    std::int64_t _totalPoints = 0;
    std::int64_t _rows = 0;
    std::int64_t _columns = 0;
    SharedReference<const CalibratorList> calibrators_{std::make_shared<const CalibratorList>()};
    SharedRecord<std::optional<Projection>> firstProjection_; // of the first of them, for the point thread
    bool autoCalibration = false;
    SharedFlag _canProcessLightPenSignal{false}; // written by the main thread

    bool followsMainScreen_ = false;
    CalibratedScreen mappedScreen_; // for which the calibrators were made

    // The session under way; null when there is none. Written by the main thread.
    SharedReference<CollectedPoints> session_;
    std::shared_ptr<ViewAnimation> animation_; // the last one of the session
    std::function<void()> sessionChanged_;
    std::string cancelLabel_;
    std::string touchHint_;
    // When the session began or was last touched; for the main thread.
    SharedValue<Microseconds> lastTouch_;
    // The target's, for the point thread.
    SharedReference<const SharedRecord<WindowRect>> targetFrame_;

    // --- Kept by name: the program neither calls these operations nor uses these values.

public:
    // A centre of its own on the main screen; made on first use, never freed.
    static const std::shared_ptr<KVRCalibrationCenter>& defaultCenter();
    std::int32_t mode() const { return _mode; }
    // A missing colour is ignored. Nothing is drawn with it.
    void setBackgroundColor(std::optional<Color> color);
    std::optional<Color> backgroundColor() const { return _backgroundColor; }
    // The target's properties. Without a target they are missing or 0, and setting does nothing.
    void setTargetBackgroundColor(std::optional<Color> color);
    std::optional<Color> targetBackgroundColor() const;
    void setTargetBezelStyle(std::uint32_t bezelStyle);
    std::uint32_t targetBezelStyle() const;
    void setTargetSize(Size size);                                // in points
    SoundRef calibrationBeep() const { return _calibrationBeep; } // null before the first
    // Goes to the next target.
    void timerFired(const std::string& timer);
    // Always false. Any thread.
    bool shouldGenerateMouseEventAtPoint(ScreenPoint) const { return false; }

private:
    const std::int32_t _mode;
    std::optional<Color> _backgroundColor;
    std::string calibrationTimer; // what a delayed "timerFired" would be asked for with
};

} // namespace lightpen
