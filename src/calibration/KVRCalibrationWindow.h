// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <QWidget>

#include "platform/Color.h"
#include "platform/Geometry.h"
#include "platform/Notifications.h"
#include "platform/Screen.h"

class QScreen;

namespace lightpen {

class CancelPlace;
class KVRCalibrationTarget;
class TouchHint;

// Posted when a calibration is cancelled; the object is the window.
inline constexpr std::string_view kCalibrationDidCanceled = "kCalibrationDidCanceled";
inline constexpr std::string_view kWindowWillClose = "NSWindowWillCloseNotification";

// The full-screen window of a calibration: borderless, above everything else, and it swallows all keys.
// Closing hides it; its owner decides whether it is shown again. Main thread.
class KVRCalibrationWindow final : public QWidget {
public:
    using WillCloseHandler = std::function<void(const Notification&)>;

    // Hidden, and without a screen.
    KVRCalibrationWindow();
    // Removes the targets in it, which others own.
    ~KVRCalibrationWindow() override;
    KVRCalibrationWindow(const KVRCalibrationWindow&) = delete;
    KVRCalibrationWindow& operator=(const KVRCalibrationWindow&) = delete;

    // The screen that it covers when it is shown next; a missing one has size 0.
    void setCalibrationScreen(const std::optional<Screen>& screen);
    // The handler hears that the window is about to close.
    void setDelegate(WillCloseHandler windowWillClose) { windowWillClose_ = std::move(windowWillClose); }
    // The ground around the target; the colour's transparency is ignored.
    void setBackgroundColor(const Color& color);
    // What stands on the screen. Under X11 it covers the screen wherever the window manager has put the
    // window, which shows what it can of it. Elsewhere it fills the window, since there a full-screen window
    // covers its screen whatever size it is given. Before the window is shown it has the screen's size.
    QWidget& contentView() { return *contentView_; }
    // Its size, in points.
    Size contentSize() const;
    // Called when that has changed while the window is shown. Set it before the window is shown.
    std::function<void()> onResize;
    // Whether the window shows all that the screen has of this part of the content view. Always, where the
    // desktop does not tell.
    bool shows(const WindowRect& part) const;

    // How the mouse ends the calibration: by a click on this label, which is shown, or where there is none by
    // a click anywhere. A compositor may give the keyboard to another screen's window, and Escape to that.
    void setWayOut(const std::optional<std::string>& label);
    // What stands above the targets for the user to read; empty for nothing.
    void setTouchHint(const std::string& hint);

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
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    // A close that comes from the desktop cancels the calibration.
    void closeEvent(QCloseEvent* event) override;
    // The Tab key is swallowed like any other.
    bool focusNextPrevChild(bool) override { return false; }

private:
    QScreen* screenOfSession() const;
    void setContentPlace(const QRect& place);
    void takePlaceOfWindow();

    std::optional<Screen> calibrationScreen_;
    QWidget* const contentView_;     // a child, owned by this
    CancelPlace* const cancelPlace_; // in the content view, which owns it
    TouchHint* const touchHint_;     // owned by this window
    bool clickCancels_ = false;
    bool pressed_ = false; // here, and in this session
    WillCloseHandler windowWillClose_;

    // --- Kept by name: the program does not call it.

public:
    // Always true: the window takes the keyboard although it has no border.
    static constexpr bool canBecomeKeyWindow() { return true; }
};

} // namespace lightpen
