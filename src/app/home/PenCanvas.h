// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <deque>
#include <optional>

#include <QPolygonF>
#include <QWidget>

#include "app/home/PenTrial.h"

namespace lightpen {

// A place to draw on with whatever moves the pointer: the left button's way is a line. Below the lines it
// shows what came of a trial of the pen. Main thread.
class PenCanvas final : public QWidget {
public:
    // So many places are kept; then the oldest lines go.
    static constexpr std::size_t kMostPlaces = 20'000;

    explicit PenCanvas(QWidget* parent = nullptr);

    // What stands on an empty canvas.
    void setHint(const QString& hint);
    // From now on it shows this one; none takes it away.
    void showTrial(const std::optional<PenTrial>& trial);
    const std::optional<PenTrial>& trial() const { return trial_; }
    // Takes lines and trial away.
    void clear();
    // The lines that are kept, oldest first, in points of the widget.
    const std::deque<QPolygonF>& lines() const { return lines_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void extendLine(const QPointF& place);
    void paintTrial(QPainter& painter) const;

    QString hint_;
    std::optional<PenTrial> trial_;
    std::deque<QPolygonF> lines_;
    std::size_t places_ = 0; // in all lines
    bool drawing_ = false;   // the last line goes on
};

} // namespace lightpen
