// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include <QPointer>
#include <QScreen>
#include <QWidget>

#include "app/PreviewImageView.h"

class QLabel;
class QPushButton;

namespace lightpen {

namespace Ui {
class PreviewWindow;
}

// The window that warns of stray light: the camera's picture, a message, and two buttons. It stays above
// other windows, beside the check view's panel. Hidden at first. Main thread.
class PreviewWindow final : public QWidget {
public:
    explicit PreviewWindow(QWidget* parent = nullptr);
    ~PreviewWindow() override;
    PreviewWindow(const PreviewWindow&) = delete;
    PreviewWindow& operator=(const PreviewWindow&) = delete;

    // Owned by the window. The application sets their texts.
    PreviewImageView* imageView() const;
    QLabel* previewMessage() const;
    QPushButton* previewExitButton() const;
    QPushButton* previewDetectAgainButton() const;

    // Shows it with the keyboard, before all others. A hidden window gets its place and size anew.
    void makeKeyAndOrderFront();
    // One that is shown and does not lie on the main screen moves there, unless the user has put it on
    // another screen that is still there.
    void screensDidChange();
    // Hides it, without onExit.
    void orderOut() { hide(); }

    // Called for the exit button, for Escape, and when the window manager closes the window (which hides it
    // in any case).
    std::function<void()> onExit = [] {};
    // Called for the other button, and for Enter unless the exit button has the keyboard.
    std::function<void()> onDetectAgain = [] {};

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    // The size without a frame for a picture whose pixels are `pictureFactor` pixels of the screen, beside a
    // message in lines of a comfortable length.
    QSize sizeFor(int pictureFactor) const;
    void placeBesidePanel();
    bool isWhereTheUserPutIt() const;
    void share();

    const std::unique_ptr<Ui::PreviewWindow> ui_;
    QPointer<QScreen> placedOn_; // where it was put last; null when that screen has gone
};

} // namespace lightpen
