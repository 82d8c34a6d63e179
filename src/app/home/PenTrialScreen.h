// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include "app/home/HomeTexts.h"
#include "app/home/PenTrial.h"

namespace lightpen {

// Covers the picture's screen with nine crosses for the pen to touch, and shows how far off it is. A press of
// the left button is a touch, whoever makes it. Escape ends it, and so does its button. Hidden at first. It
// begins anew when its size changes, and moves with the picture. Needs the platform. Main thread.
class PenTrialScreen final : public QWidget {
public:
    PenTrialScreen();
    ~PenTrialScreen() override;
    PenTrialScreen(const PenTrialScreen&) = delete;
    PenTrialScreen& operator=(const PenTrialScreen&) = delete;

    // The texts from now on.
    void setTexts(const HomeTexts& text);
    // Begins a trial on the screen that shows the picture now.
    void begin();
    // The touches since begin().
    const PenTrial& trial() const { return trial_; }

    // Called when the user has ended it; it is hidden then.
    std::function<void()> onEnd = [] {};

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void startOver();
    void showWords();
    void placeWordsAndButton();
    void screensDidChange();

    HomeTexts text_ = [](std::string_view) { return QString(); };
    PenTrial trial_;
    QLabel words_{this};
    QPushButton back_{this};
};

} // namespace lightpen
