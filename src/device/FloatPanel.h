// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <QTimer>
#include <QWidget>

#include "device/PanelView.h"
#include "platform/Geometry.h"

class QScreen;

namespace lightpen {

// How far up a window belongs. The desktop knows no more than "above the others"; the numbers keep the order
// among themselves.
enum class WindowLevel : std::int32_t { statusBar = 25, shielding = 2147483628, cursor = 2147483630 };

// Whether this process can show windows at all.
bool canShowWindows();

// Qt's screen of this name; null without one. Main thread.
QScreen* screenNamed(const std::string& name);
// Qt's screen for the desktop's main one, which need not be Qt's primary one: the user can choose. It is the
// primary one where Qt does not know the main one, and null without a screen. Main thread.
QScreen* mainScreen();
// Shows the window on all of that screen. Main thread.
void coverMainScreen(QWidget& window);
// Where all of a screen is in a window that is meant to cover it: a window manager may keep the window beside
// its panel. The whole window where no X server tells, and without a screen. Main thread.
QRect placeOfScreen(const QWidget& window, const QScreen* screen);

// Where the check view's panel stands on a main screen of this size: a quarter of the width is free on either
// side, a third of the height below. Whole points.
WindowRect checkPanelRect(Size screen);

// Places the window on the main screen; the rectangle counts from that screen's bottom-left corner. Its size
// is fixed then, and it has the program's name for its title: a compositor that tiles windows lets such a one
// float, and users can name it in their rules.
void placeOnMainScreen(QWidget& window, const WindowRect& rect);

// The check view's panel: black, above every other window but a locker's, managed or not, and over its own
// rectangle only.
// Keys that reach it are swallowed. Main thread.
class FloatPanel final : public QWidget {
public:
    // Hidden; counts from the main screen's bottom-left corner, in points.
    explicit FloatPanel(const WindowRect& contentRect);

    // Above all others, and fixed.
    static constexpr WindowLevel level() { return WindowLevel::shielding; }
    // Fills the panel from now on; none before the first.
    void setContentView(std::unique_ptr<PanelView> view);
    PanelView* contentView() const { return contentView_; }
    bool ignoresMouseEvents() const;
    // Before it is shown.
    void setIgnoresMouseEvents(bool ignores);
    // Shows it above all others, unless there is nothing of it to show or the screen is covered.
    void makeKeyAndOrderFront();
    // Hides it and stops bringing it to the top; it can be shown again.
    void orderOut();

    // --- There by name, and without effect: the content view draws, and no key means anything here

    static constexpr bool canBecomeKeyWindow() { return true; }
    void keyDown(std::uint16_t) {}
    void drawRect(const QRect&) {}

protected:
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool) override { return false; }
    // Nobody but the driver takes it away.
    void closeEvent(QCloseEvent* event) override;

private:
    PanelView* contentView_ = nullptr; // a child, owned by this
    const bool empty_;
    QTimer stayOnTop_;
};

// Makes the panel; null where there is nothing to show a window on.
std::shared_ptr<FloatPanel> newFloatPanel(const WindowRect& contentRect);

} // namespace lightpen
