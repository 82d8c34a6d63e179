// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include <QWidget>

#include "platform/Color.h"
#include "platform/Notifications.h"
#include "platform/Screen.h"

namespace lightpen {

class KVRCalibrationTarget;

// Posted when a calibration is cancelled; the object is the window.
inline constexpr std::string_view kCalibrationDidCanceled = "kCalibrationDidCanceled";
inline constexpr std::string_view kWindowWillClose = "NSWindowWillCloseNotification";

// The full-screen window of a calibration: borderless, above everything else, and all keys are its own.
// Closing hides it; whoever owns it decides whether it is shown again. Main thread.
class KVRCalibrationWindow final : public QWidget {
public:
    using WillCloseHandler = std::function<void(const Notification&)>;

    // Hidden, and without a screen, until it is told.
    KVRCalibrationWindow();
    // Lets go of the targets in it.
    ~KVRCalibrationWindow() override;
    KVRCalibrationWindow(const KVRCalibrationWindow&) = delete;
    KVRCalibrationWindow& operator=(const KVRCalibrationWindow&) = delete;

    // Covers this screen when it is shown next; nothing at all without one.
    void setCalibrationScreen(const std::optional<Screen>& screen);
    // Who hears that the window is about to close.
    void setDelegate(WillCloseHandler windowWillClose) { windowWillClose_ = std::move(windowWillClose); }
    // The ground around the target; opaque whatever the colour says.
    void setBackgroundColor(const Color& color);
    // Has the size of the screen, also where the desktop gives the window another one.
    QWidget& contentView() { return *contentView_; }

    // Always: a window without a border would otherwise get no keys.
    static constexpr bool canBecomeKeyWindow() { return true; }
    // Shows it on its screen, above all others, with the keyboard.
    void makeKeyAndOrderFront();
    // Draws at once.
    void display();
    // Tells the delegate and hides the window.
    void closeWindow();

    // Escape ends the calibration; every other key is swallowed.
    void keyDown(std::uint16_t keyCode);
    // What Escape does: takes the pen away from the calibration, and posts kCalibrationDidCanceled.
    void cancelCalibration();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    // Whoever closes the window from outside cancels the calibration.
    void closeEvent(QCloseEvent* event) override;
    // The Tab key is swallowed like any other.
    bool focusNextPrevChild(bool) override { return false; }

private:
    std::optional<Screen> calibrationScreen_;
    QWidget* const contentView_; // a child, owned by this
    WillCloseHandler windowWillClose_;
};

} // namespace lightpen
