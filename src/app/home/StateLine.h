// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QString>
#include <QWidget>

#include "app/home/HomeTexts.h"

class QLabel;

namespace lightpen {

class CopyButton;

// What is so with the pen.
struct ShownState {
    QIcon picture = {};
    QString text = {};
    QString advice = {};  // what to do about it; empty for nothing
    QString command = {}; // a line for a terminal that makes it good; empty for none
};

// One line that says what is so with the pen, with a picture before it; below it may stand what to do about
// it, and a command with a button that copies it. Main thread.
class StateLine final : public QWidget {
public:
    explicit StateLine(QWidget* parent = nullptr);

    void setState(const ShownState& state);
    void setTexts(const HomeTexts& texts);

private:
    QLabel* const picture_;
    QLabel* const text_;
    QLabel* const advice_;
    QWidget* const commandRow_;
    QLabel* const command_;
    CopyButton* const copy_;
};

} // namespace lightpen
