// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include <QDBusMessage>
#include <QMenu>
#include <QWidget>

#include "measure/CanvasEvent.h"
#include "measure/canvas/Board.h"

namespace lightpen {

// A board that covers the screen, draws what the pointer does on it, and says what it was handed. It knows
// nothing of the driver. Main thread.
class CanvasWindow : public QWidget {
    Q_OBJECT

public:
    using Report = std::function<void(const CanvasEvent&)>;

    explicit CanvasWindow(Report report);

    // Covers the screen of this name, or the primary one where there is none; with a window manager and
    // without one.
    void coverScreen(const std::string& name);
    // From now on it hears these distributed notifications, whoever sends them; false when there is no
    // session bus.
    bool listenFor(const QString& notification);
    // The demo says where the hand touched; for the picture only.
    void markHand(QPointF point);
    // Writes a picture of the board; says saved, or failed.
    void savePicture(const QString& file);

public Q_SLOTS:
    // A distributed notification came.
    void hear(const QDBusMessage& notification);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void tell(CanvasEvent::Kind kind, QPointF position, const QString& text = {});

    const Report report_;
    Board board_;
    QMenu menu_;
    bool drawing_ = false;
    bool shown_ = false;
};

} // namespace lightpen
