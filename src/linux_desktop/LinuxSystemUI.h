// SPDX-License-Identifier: MIT
#pragma once

#include "platform/SystemUI.h"

namespace lightpen {

// Keeps the values; the desktop is not asked for anything yet.
class LinuxSystemUI final : public SystemUI {
public:
    void GetSystemUIMode(SystemUIMode& mode, SystemUIOptions& options) const override {
        mode = mode_;
        options = options_;
    }
    IOReturn SetSystemUIMode(SystemUIMode mode, SystemUIOptions options) override {
        mode_ = mode;
        options_ = options;
        return kIOReturnUnsupported;
    }
    CGDirectDisplayID CGMainDisplayID() const override { return 0; }
    IOReturn CGDisplayHideCursor(CGDirectDisplayID) override { return kIOReturnUnsupported; }
    IOReturn CGDisplayShowCursor(CGDirectDisplayID) override { return kIOReturnUnsupported; }
    void activateIgnoringOtherApps() override {}

private:
    SystemUIMode mode_ = kUIModeNormal;
    SystemUIOptions options_ = 0;
};

} // namespace lightpen
