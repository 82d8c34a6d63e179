// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractButton>

#include "calibration/SessionLabel.h"

namespace lightpen {

// A labelled place in the view of a calibration, where a click of the mouse ends it. It is for users whose
// keys do not reach the window. It stands in the middle of the view's lower edge, below all targets, and
// follows the view's size; of a view that is cut off, at the edge of what its window shows. Main thread.
class CancelPlace final : public SessionLabel<QAbstractButton> {
public:
    // Hidden, without a label.
    explicit CancelPlace(QWidget& view);

    // Shows the label; an empty one hides the place.
    void setLabel(const QString& label) { showText(label); }
    // Takes its place anew; needed only when the window shows another part of the view.
    void place() override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace lightpen
