// SPDX-License-Identifier: MIT
#pragma once

namespace lightpen {

// The small window that catches the pairing keys, as far as the driver knows it. Main thread.
class PairingKeyWindow {
public:
    virtual ~PairingKeyWindow() = default;
    virtual void setIgnoresMouseEvents(bool ignores) = 0;
};

} // namespace lightpen
