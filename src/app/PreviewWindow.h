// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include <QWidget>

#include "app/PreviewImageView.h"

class QLabel;
class QPushButton;

namespace lightpen {

namespace Ui {
class PreviewWindow;
}

// What warns of stray light: the camera's picture, a message, and two buttons. Stays above other windows,
// where the check view's panel does not cover it. Hidden until it is shown. Main thread.
class PreviewWindow final : public QWidget {
public:
    explicit PreviewWindow(QWidget* parent = nullptr);
    ~PreviewWindow() override;
    PreviewWindow(const PreviewWindow&) = delete;
    PreviewWindow& operator=(const PreviewWindow&) = delete;

    // Owned by the window; their texts are the application's to set.
    PreviewImageView* imageView() const;
    QLabel* previewMessage() const;
    QPushButton* previewExitButton() const;
    QPushButton* previewDetectAgainButton() const;

    // Shows it with the keyboard, before all others. One that was not visible gets its place and size anew.
    void makeKeyAndOrderFront();
    // Hides it, without onExit.
    void orderOut() { hide(); }

    // The exit button, and Escape; also when the user closes the window in the window manager's way, which
    // then hides it in any case.
    std::function<void()> onExit;
    // The other button, and Enter wherever the keyboard is but on the exit button.
    std::function<void()> onDetectAgain;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    // The size without a frame in which the picture's pixels are this many of the screen's, and the message
    // has lines of a comfortable length.
    QSize sizeFor(int pictureFactor) const;
    void placeBesidePanel();
    void share();

    const std::unique_ptr<Ui::PreviewWindow> ui_;
};

} // namespace lightpen
