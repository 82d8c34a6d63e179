// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

#include "app/home/HomeTexts.h"

class QIcon;
class QLabel;
class QPushButton;

namespace lightpen {

// One line that says what is so with the pen, with a picture before it; below it may stand a command that
// makes it good, with a button that copies it. Main thread.
class StateLine final : public QWidget {
public:
    explicit StateLine(QWidget* parent = nullptr);

    // The command is a line for a terminal; empty for none.
    void setState(const QIcon& picture, const QString& text, const QString& command);
    void setTexts(const HomeTexts& texts);

private:
    QLabel* const picture_;
    QLabel* const text_;
    QWidget* const commandRow_;
    QLabel* const command_;
    QPushButton* const copy_;
};

} // namespace lightpen
