// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>

#include <QImage>
#include <QTimer>
#include <QWidget>

#include "emulated/PenView.h"
#include "emulated/UnitControl.h"

class QLabel;
class QPushButton;
class QSpinBox;
class QVBoxLayout;

namespace lightpen {

// The window of a camera unit in software: the projected screen as the camera sees it, in which the mouse is
// the pen, and beside it the plug, the room and the firmware. Looks at the unit and the screen a few times a
// second, and only while it is visible. Main thread.
class UnitWindow final : public QWidget {
public:
    // What the window needs of the program around it, on the main thread.
    struct Surroundings {
        // A new picture of the screen; none when nothing has changed since the last one. Empty: the view
        // shows a plain grey.
        std::function<std::optional<QImage>()> display;
        std::function<void(bool)> letHandTouchTargets;
        std::function<bool()> handTouchesTargets;
        // The user closed the window.
        std::function<void()> closed;
    };

    // The control and the clock outlive the window.
    UnitWindow(UnitControl& control, Clock& clock, Surroundings surroundings);

    // Shows what the unit and the screen are like now.
    void refresh();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QPushButton* addButton(QVBoxLayout& column, const char* name, const QString& text,
                           const std::function<void()>& pressed);
    void addPlug(QVBoxLayout& column);
    void addRoom(QVBoxLayout& column);
    void addFlash(QVBoxLayout& column);
    void addFirmware(QVBoxLayout& column);
    void addByte(QVBoxLayout& column, const char* name, const QString& text, int last,
                 std::uint8_t DeviceInformation::*byte);
    void refreshState();

    UnitControl& control_;
    const Surroundings surroundings_;
    PenView* view_;
    QTimer timer_;
};

} // namespace lightpen
