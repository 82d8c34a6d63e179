// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>

#include <QLabel>
#include <QPixmap>
#include <QWidget>

#include "platform/Geometry.h"

namespace lightpen::webcam {

// A window that covers the picture's screen for what the camera is to see there, or the pen to touch. Escape
// ends it, and while it is dark so does a click: the pen makes none then. Needs the platform. Main thread.
class CalibrationScreen final : public QWidget {
public:
    // Hidden.
    CalibrationScreen();

    // All black, and without a cursor.
    void showDark();
    // A dot on the dark window, its middle counted from the window's upper left corner; none takes it away.
    void showDot(const std::optional<ScreenPoint>& middle);
    // How wide a dot is, in points.
    double dotWidth() const;
    // A cross in the middle of the screen, and these words above it, in which %1 is the key that ends it.
    void showCross(const QString& words);

    // Called when the user ends it.
    std::function<void()> onEnd = [] {};
    // Called when its size changes once the first dot has been shown.
    std::function<void()> onOtherSize = [] {};

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    enum class Kind { dark, cross };
    void cover(Kind kind);
    void placeWords();

    const QPixmap dotPicture_;
    Kind kind_ = Kind::dark;
    std::optional<ScreenPoint> dot_;
    bool pressed_ = false; // a click of the mouse has begun here
    QLabel words_{this};
};

} // namespace lightpen::webcam
