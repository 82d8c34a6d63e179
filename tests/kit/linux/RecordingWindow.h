// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <QMouseEvent>
#include <QScreen>
#include <QWindow>

namespace lightpen {

// A window over a whole screen that keeps the button events it gets, in points from the screen's corner, such
// as "press left 100,50". Moves are kept by their last place only: Qt merges them.
class RecordingWindow final : public QWindow {
public:
    explicit RecordingWindow(QScreen& screen) {
        setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
        setScreen(&screen);
        setGeometry(screen.geometry());
        show();
    }

    const std::vector<std::string>& buttonEvents() const { return buttonEvents_; }
    QPoint lastPlace() const { return lastPlace_; }
    // The buttons that were held at the last event.
    Qt::MouseButtons lastButtons() const { return lastButtons_; }

private:
    void mousePressEvent(QMouseEvent* event) override { note("press", *event); }
    void mouseReleaseEvent(QMouseEvent* event) override { note("release", *event); }
    void mouseMoveEvent(QMouseEvent* event) override { keep(*event); }

    void note(const char* what, const QMouseEvent& event) {
        keep(event);
        const char* button = event.button() == Qt::LeftButton    ? " left "
                             : event.button() == Qt::RightButton ? " right "
                                                                 : " other ";
        buttonEvents_.push_back(what + std::string(button) + std::to_string(lastPlace_.x()) + "," +
                                std::to_string(lastPlace_.y()));
    }
    void keep(const QMouseEvent& event) {
        lastPlace_ = (event.globalPosition() - QPointF(screen()->geometry().topLeft())).toPoint();
        lastButtons_ = event.buttons();
    }

    std::vector<std::string> buttonEvents_;
    QPoint lastPlace_{-1, -1};
    Qt::MouseButtons lastButtons_;
};

} // namespace lightpen
