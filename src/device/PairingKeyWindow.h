// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

namespace lightpen {

// The small window that catches the pairing keys, as far as the driver knows it. Main thread.
class PairingKeyWindow {
public:
    virtual ~PairingKeyWindow() = default;
    virtual void setIgnoresMouseEvents(bool ignores) = 0;
};

// Makes the window, in front of all others and with the keyboard; null where there is no such window.
std::shared_ptr<PairingKeyWindow> newPairingKeyWindow();

} // namespace lightpen
