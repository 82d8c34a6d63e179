// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>

namespace lightpen {

// Has the label show its text as it is, in as many lines as it takes.
inline void showPlainText(QLabel& label) {
    label.setTextFormat(Qt::PlainText);
    label.setWordWrap(true);
}

// The same, for a text that users copy, by the mouse or the keyboard.
inline void showTextToCopy(QLabel& label) {
    showPlainText(label);
    label.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

} // namespace lightpen
