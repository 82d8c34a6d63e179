// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>

namespace lightpen {

// What to do, in small letters in the middle of a calibration window's upper edge, above all targets. It
// takes no clicks and follows the window's size. Main thread.
class TouchHint final : public QLabel {
public:
    // Hidden, without a text.
    explicit TouchHint(QWidget& window);

    // Shows the text; an empty one hides the hint.
    void setHint(const QString& hint);

protected:
    bool eventFilter(QObject* window, QEvent* event) override;

private:
    void place();
};

} // namespace lightpen
