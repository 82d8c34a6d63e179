// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace lightpen {

// The small window that catches the pairing keys, as far as the driver knows it. Main thread; the last
// reference may be dropped on any.
class PairingKeyWindow {
public:
    virtual ~PairingKeyWindow() = default;
    // Whether clicks pass through it. The window is invisible, so it may let all of them pass.
    virtual void setIgnoresMouseEvents(bool ignores) = 0;
    // Shows it in front and asks for the keyboard. A desktop that refuses the keyboard is left alone.
    virtual void makeKeyAndOrderFront() = 0;
    // Asks for the keyboard once more where makeKeyAndOrderFront did not get it, until giveKeyboardBack.
    virtual void borrowKeyboard() = 0;
    // The window that had the keyboard before borrowKeyboard has it again.
    virtual void giveKeyboardBack() = 0;
};

// Makes the window, still hidden; clicks do not pass. Null where there is nothing to show a window on.
std::shared_ptr<PairingKeyWindow> newPairingKeyWindow();

} // namespace lightpen
