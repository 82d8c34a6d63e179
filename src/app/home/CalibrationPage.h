// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include <QWidget>

#include "app/home/HomeTexts.h"

class QLabel;
class QPushButton;

namespace lightpen {

// The ways to a calibration, and the one back. Main thread.
class CalibrationPage final : public QWidget {
public:
    // What can be done now.
    struct Possible {
        bool byTouching = false;    // a unit is there
        bool automatically = false; // and its camera finds targets by itself
        bool undo = false;          // and the calibration before the last one is known
        bool cameraSeesScreen = true;
    };
    // Called when the user asks for it.
    struct Deeds {
        std::function<void()> byTouching;
        std::function<void()> automatically;
        std::function<void()> undo;
    };

    // The way that comes first. It is the automatic one for a camera of which one does not know whether it
    // sees targets; then the page says when it does not.
    enum class First { byTouching, automatically };

    explicit CalibrationPage(Deeds deeds, First first = First::byTouching, QWidget* parent = nullptr);

    void setPossible(const Possible& possible);
    void setTexts(const HomeTexts& texts);

private:
    struct Row {
        QPushButton* button;
        QLabel* words;
    };
    void putAutomaticallyFirst();
    Row addRow(const char* name, std::function<void()> deed);
    static void say(const Row& row, const QString& button, const QString& words);

    const Row byTouching_;
    const Row automatically_;
    const Row undo_;
    QLabel* const whyNot_;
    QLabel* const film_;
};

} // namespace lightpen
