// SPDX-License-Identifier: MIT
#include "linux_desktop/screen/LinuxSystemUI.h"

#include <utility>

#include <QCursor>
#include <QGuiApplication>
#include <QWindow>

#include "linux_desktop/screen/ScreenCover.h"
#include "linux_desktop/screen/ScreenTakeover.h"
#include "linux_desktop/screen/XFullScreen.h"

namespace lightpen {

namespace {

// Not one beside the program's windows, as the one that catches the pairing keys, or that is no window
// manager's.
bool isForTheUser(const QWindow& window) {
    return window.type() != Qt::Tool &&
           !(window.flags() & (Qt::BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus));
}

} // namespace

LinuxSystemUI::LinuxSystemUI(ScreenCover* cover) : cover_(cover) {}

LinuxSystemUI::~LinuxSystemUI() {
    CGDisplayShowCursor(kMainDisplay);
}

XFullScreen* LinuxSystemUI::screen() {
    if (!screen_ && QGuiApplication::platformName() == QLatin1String("xcb"))
        screen_ = XFullScreen::connect();
    return screen_.get();
}

void LinuxSystemUI::GetSystemUIMode(SystemUIMode& mode, SystemUIOptions& options) const {
    mode = mode_;
    options = options_;
}

IOReturn LinuxSystemUI::SetSystemUIMode(SystemUIMode mode, SystemUIOptions options) {
    mode_ = mode;
    options_ = options;
    if (mode != kUIModeAllHidden) {
        takeover_.reset();
        return kIOReturnSuccess;
    }
    if (!screen())
        return kIOReturnUnsupported;
    // A second session before the end of the first goes on with what the first remembers.
    if (!takeover_)
        takeover_ = std::make_unique<ScreenTakeover>(*screen(), [this] { return isScreenCovered(); });
    return kIOReturnSuccess;
}

IOReturn LinuxSystemUI::CGDisplayHideCursor(CGDirectDisplayID display) {
    if (display != kMainDisplay)
        return kIOReturnBadArgument;
    if (std::exchange(cursorHidden_, true))
        return kIOReturnSuccess;
    if (screen())
        return screen()->hideCursor() ? kIOReturnSuccess : kIOReturnUnsupported;
    QGuiApplication::setOverrideCursor(Qt::BlankCursor);
    return kIOReturnSuccess;
}

IOReturn LinuxSystemUI::CGDisplayShowCursor(CGDirectDisplayID display) {
    if (display != kMainDisplay)
        return kIOReturnBadArgument;
    if (!std::exchange(cursorHidden_, false))
        return kIOReturnSuccess;
    if (screen_)
        screen_->showCursor();
    else
        QGuiApplication::restoreOverrideCursor();
    return kIOReturnSuccess;
}

bool LinuxSystemUI::isScreenCovered() {
    return cover_ && cover_->isCovered();
}

void LinuxSystemUI::activateIgnoringOtherApps() {
    if (isScreenCovered())
        return;
    if (takeover_) {
        takeover_->activate();
        return;
    }
    for (QWindow* window : QGuiApplication::topLevelWindows())
        if (window->isVisible() && isForTheUser(*window))
            bringToFront(*window);
}

// Qt asks with the time of the user's last action in this program, which a later one in another outweighs.
void LinuxSystemUI::bringToFront(QWindow& window) {
    window.raise();
    XFullScreen* x = screen();
    if (!x) {
        window.requestActivate();
        return;
    }
    const auto id = static_cast<XFullScreen::Window>(window.winId());
    if (x->managed()) {
        x->activate(id);
        return;
    }
    x->raise(id);
    x->setFocus(id);
}

} // namespace lightpen
