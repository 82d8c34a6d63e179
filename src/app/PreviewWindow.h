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

    // Shows it with the keyboard, before all others.
    void makeKeyAndOrderFront();
    void orderOut() { hide(); }

    // The exit button, Escape, or the window manager's way to close it; the window itself does not hide.
    std::function<void()> onExit;
    // The other button, or Enter.
    std::function<void()> onDetectAgain;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void placeBesidePanel();

    const std::unique_ptr<Ui::PreviewWindow> ui_;
};

} // namespace lightpen
