// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "app/home/ProgramFacts.h"
#include "platform/Platform.h"
#include "webcam/WebcamUnit.h"
#include "webcam/sight/DotPass.h"
#include "webcam/sight/LampShift.h"

namespace lightpen::webcam {

class CalibrationScreen;

// What the camera does itself around the driver's automatic calibration. Before it, dots that are shown all
// over the picture tell how the lens bends lines; behind it, one touch tells how far the pen's light stands
// off its tip. Both belong to the calibration that is made with them. Main thread.
class CameraCalibration {
public:
    // How long the cross waits for its touch.
    static constexpr Microseconds kTouchPatience = std::chrono::seconds(60);
    // The desktop is looked at for so long before the window covers it, so that the room's lamps are known.
    static constexpr Microseconds kDesktopLook = std::chrono::milliseconds(400);

    // Unit answers that of the camera that looks, null without one; keep writes down what it keeps. The
    // platform outlives this object.
    CameraCalibration(Platform& platform, std::function<WebcamUnit*()> unit,
                      std::function<void(WebcamUnit&)> keep);
    // Ends what is under way.
    ~CameraCalibration();
    CameraCalibration(const CameraCalibration&) = delete;
    CameraCalibration& operator=(const CameraCalibration&) = delete;

    // See ProgramCamera::Calibration, whose operations these are.
    void measureLens(std::function<void()> goOn);
    void askForTouch(const HomeTexts& text);
    bool underWay() const { return what_ != What::nothing; }
    void end();

private:
    enum class What { nothing, desktop, dots, touch };

    ScreenRect frameOfScreen() const;
    void begin(What what);
    void lookLater();
    void look();
    void endSince(const char* reason);
    void coverDesktop();
    void lookAtDots();
    void measured();
    void lookAtTouch();
    void take(CameraPoint pen);
    void giveUpTrial();
    void closeScreen();
    CalibrationScreen& screen();

    Platform& platform_;
    const std::function<WebcamUnit*()> unitThatLooks_;
    const std::function<void(WebcamUnit&)> keep_;
    What what_ = What::nothing;
    Microseconds since_{};       // when that began
    ScreenRect frame_;           // of the picture's screen, since then
    WebcamUnit* unit_ = nullptr; // of what is, or was last, under way
    std::function<void()> goOn_;
    unsigned seenPicture_ = 0;
    std::optional<DotPass> pass_;
    PenTouch touch_;
    std::unique_ptr<CalibrationScreen> screen_; // made when first needed
    SystemUIMode modeBefore_ = kUIModeNormal;   // the desktop's, while it is covered in the dark
    SystemUIOptions optionsBefore_ = 0;
};

} // namespace lightpen::webcam
