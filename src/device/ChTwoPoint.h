// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include <QWidget>

#include "device/FloatPanel.h"
#include "device/PairingKeyWindow.h"

namespace lightpen {

// The pairing key window: there for the keyboard only. Nothing of it is seen, and clicks go to whatever lies
// below it. Main thread.
class ChTwoPoint final : public QWidget, public PairingKeyWindow {
public:
    // Hidden; counts from the main screen's bottom-left corner, in points.
    explicit ChTwoPoint(const WindowRect& contentRect);

    // Sets the flag of Z, Delete, C or Escape; all other keys are only logged.
    void keyDown(std::uint16_t keyCode);

    void makeKeyAndOrderFront() override;
    void borrowKeyboard() override;
    void giveKeyboardBack() override;

    // --- There by name, and without effect: an invisible window has no place among others and takes no
    // clicks

    static constexpr bool canBecomeKeyWindow() { return true; }
    WindowLevel level() const { return level_; }
    void setLevel(WindowLevel level) { level_ = level; }
    bool ignoresMouseEvents() const { return ignoresMouseEvents_; }
    void setIgnoresMouseEvents(bool ignores) override { ignoresMouseEvents_ = ignores; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    // What was typed before counts no more: its other half may come in quite another place.
    void focusOutEvent(QFocusEvent* event) override;
    // The Tab key is a key like any other.
    bool focusNextPrevChild(bool) override { return false; }

private:
    WindowLevel level_ = WindowLevel::statusBar;
    bool ignoresMouseEvents_ = false;
    bool hadKeyboard_ = false; // by makeKeyAndOrderFront
    bool borrowing_ = false;
};

} // namespace lightpen
