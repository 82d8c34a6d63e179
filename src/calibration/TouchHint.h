// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>

#include "calibration/SessionLabel.h"

namespace lightpen {

// What to do, in small letters in the middle of a calibration window's upper edge, above all targets. It
// takes no clicks and follows the window's size. Main thread.
class TouchHint final : public SessionLabel<QLabel> {
public:
    // Hidden, without a text.
    explicit TouchHint(QWidget& window);

    // Shows the text; an empty one hides the hint.
    void setHint(const QString& hint) { showText(hint); }

private:
    void place() override;
};

} // namespace lightpen
