// SPDX-License-Identifier: MIT
#include "calibration/TouchHint.h"

#include <QPalette>

namespace lightpen {

namespace {

// In points. The highest targets begin 43 points below the edge; whoever looks for them must not take the two
// for one thing, on a narrow screen too.
constexpr int kTopMargin = 2;
constexpr int kHeight = 22;

} // namespace

TouchHint::TouchHint(QWidget& window) : SessionLabel(window) {
    QPalette colours = palette();
    colours.setColor(QPalette::Window, kGround);
    colours.setColor(QPalette::WindowText, kText);
    setPalette(colours);
    setAutoFillBackground(true);
    setContentsMargins(kSidePadding, 0, kSidePadding, 0);
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void TouchHint::place() {
    const int width = sizeHint().width();
    setGeometry((parentWidget()->width() - width) / 2, kTopMargin, width, kHeight);
}

} // namespace lightpen
