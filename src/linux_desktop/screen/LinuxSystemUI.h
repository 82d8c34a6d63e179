// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "platform/SystemUI.h"

class QWindow;

namespace lightpen {

class ScreenCover;
class ScreenTakeover;
class XFullScreen;

// What a client may take over from the desktop for a full-screen session. Under X11 everything hidden means:
// the program's window that covers a screen has the whole keyboard, the window manager's keys included, and
// is on top; the cursor is hidden on the whole desktop, which under X11 is one screen. Elsewhere (Wayland)
// the compositor decides about keys and order, and the cursor is hidden over the program's own windows only.
// Made after the application object, on its thread.
class LinuxSystemUI final : public SystemUI {
public:
    // The cover, if there is one, outlives this; without it the screen is never covered.
    explicit LinuxSystemUI(ScreenCover* cover = nullptr);
    // Gives everything back, as the end of the process does too.
    ~LinuxSystemUI() override;
    LinuxSystemUI(const LinuxSystemUI&) = delete;
    LinuxSystemUI& operator=(const LinuxSystemUI&) = delete;

    void GetSystemUIMode(SystemUIMode& mode, SystemUIOptions& options) const override;
    // kIOReturnUnsupported for all-hidden elsewhere than under X11.
    IOReturn SetSystemUIMode(SystemUIMode mode, SystemUIOptions options) override;

    CGDirectDisplayID CGMainDisplayID() const override { return kMainDisplay; }
    // kIOReturnBadArgument for any display but the main one.
    IOReturn CGDisplayHideCursor(CGDirectDisplayID display) override;
    IOReturn CGDisplayShowCursor(CGDirectDisplayID display) override;

    // Not while the screen is covered.
    void activateIgnoringOtherApps() override;
    bool isScreenCovered() override;

private:
    static constexpr CGDirectDisplayID kMainDisplay = 1;

    XFullScreen* screen();
    void bringToFront(QWindow& window);

    ScreenCover* const cover_;
    SystemUIMode mode_ = kUIModeNormal;
    SystemUIOptions options_ = 0;
    bool cursorHidden_ = false;
    // Opened when first needed; none elsewhere than under X11.
    std::unique_ptr<XFullScreen> screen_;
    std::unique_ptr<ScreenTakeover> takeover_;
};

} // namespace lightpen
