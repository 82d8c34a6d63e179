// SPDX-License-Identifier: MIT
#include "calibration/TouchHint.h"

#include <QEvent>
#include <QPalette>

namespace lightpen {

namespace {

// In points. The highest targets begin 43 points below the edge; whoever looks for them must not take the two
// for one thing, on a narrow screen too.
constexpr int kTopMargin = 2;
constexpr int kHeight = 22;
constexpr int kSidePadding = 14;
constexpr int kTextPixels = 14;
// The ground makes one thing of the words, as it does of the way out below.
const QColor kGround(0xD6, 0xD6, 0xD6);
const QColor kText(0x40, 0x40, 0x40);

} // namespace

TouchHint::TouchHint(QWidget& window) : QLabel(&window) {
    QFont smaller = font();
    smaller.setPixelSize(kTextPixels);
    setFont(smaller);
    QPalette colours = palette();
    colours.setColor(QPalette::Window, kGround);
    colours.setColor(QPalette::WindowText, kText);
    setPalette(colours);
    setAutoFillBackground(true);
    setContentsMargins(kSidePadding, 0, kSidePadding, 0);
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    window.installEventFilter(this);
    hide();
}

void TouchHint::setHint(const QString& hint) {
    setText(hint);
    place();
    setVisible(!hint.isEmpty());
}

void TouchHint::place() {
    const int width = sizeHint().width();
    setGeometry((parentWidget()->width() - width) / 2, kTopMargin, width, kHeight);
}

bool TouchHint::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::Resize)
        place();
    return false;
}

} // namespace lightpen
