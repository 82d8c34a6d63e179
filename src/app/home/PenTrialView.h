// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>

#include <QLabel>
#include <QPushButton>
#include <QWidget>

#include "app/home/HomeTexts.h"
#include "app/home/PenCanvas.h"

namespace lightpen {

class PenTrialScreen;

// Where the user tries the pen: a canvas to draw on, and a trial with nine crosses on the picture's screen
// that says how far off the pen is. What came of it stays on the canvas, with its words, until the canvas is
// cleared. Needs the platform. Main thread.
class PenTrialView final : public QWidget {
public:
    explicit PenTrialView(QWidget* parent = nullptr);
    ~PenTrialView() override;
    PenTrialView(const PenTrialView&) = delete;
    PenTrialView& operator=(const PenTrialView&) = delete;

    // The texts from now on.
    void setTexts(const HomeTexts& text);

    // Called for the button that comes when the pen is off.
    std::function<void()> onCalibrate = [] {};

private:
    void trialEnds();
    void clear();
    void showWords();

    HomeTexts text_ = [](std::string_view) { return QString(); };
    const std::unique_ptr<PenTrialScreen> screen_;
    PenCanvas canvas_;
    QLabel words_;
    QPushButton measure_;
    QPushButton clear_;
    QPushButton calibrate_;
};

} // namespace lightpen
