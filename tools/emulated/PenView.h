// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QWidget>

#include "emulated/DrawnGesture.h"
#include "emulated/UnitControl.h"

namespace lightpen {

// The projected screen as the camera of a unit sees it. What the mouse draws here with its left button is
// played by the unit's pen once the button has been let go of; while the pen plays, and shortly after,
// presses here may be its own and are ignored. Main thread.
class PenView final : public QWidget {
public:
    // Both outlive the view.
    PenView(UnitControl& control, Clock& clock);

    // What the screen displays; null for a plain grey.
    void setDisplay(const QImage& display);
    // Looks at the unit, and is drawn again if there is something new.
    void refresh();

    QSize sizeHint() const override { return {640, 480}; }
    QSize minimumSizeHint() const override { return {240, 180}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    // What decides how it looks, but for the display.
    struct Sight {
        Scene scene;
        bool filterOut = false;
    };
    Sight look() const;
    CameraPoint placeOf(const QMouseEvent& event) const;

    UnitControl& control_;
    Clock& clock_;
    QImage display_;
    Sight sight_;
    DrawnGesture gesture_;
};

} // namespace lightpen
