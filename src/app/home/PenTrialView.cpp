// SPDX-License-Identifier: MIT
#include "app/home/PenTrialView.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "app/home/PenTrialScreen.h"
#include "app/home/PenTrialWords.h"
#include "app/home/PlainLabel.h"

namespace lightpen {

PenTrialView::PenTrialView(QWidget* parent) : QWidget(parent), screen_(std::make_unique<PenTrialScreen>()) {
    canvas_.setObjectName(QStringLiteral("penCanvas"));
    words_.setObjectName(QStringLiteral("penTrialWords"));
    measure_.setObjectName(QStringLiteral("penTrialMeasure"));
    clear_.setObjectName(QStringLiteral("penTrialClear"));
    calibrate_.setObjectName(QStringLiteral("penTrialCalibrate"));
    showTextToCopy(words_);
    auto* const rows = new QVBoxLayout(this); // Qt's, as are the rows in it
    rows->addWidget(&canvas_, 1);
    rows->addWidget(&words_);
    auto* const buttons = new QHBoxLayout;
    for (QPushButton* button : {&measure_, &clear_, &calibrate_})
        buttons->addWidget(button);
    buttons->addStretch();
    rows->addLayout(buttons);
    connect(&measure_, &QPushButton::clicked, this, [this] { screen_->begin(); });
    connect(&clear_, &QPushButton::clicked, this, &PenTrialView::clear);
    connect(&calibrate_, &QPushButton::clicked, this, [this] { onCalibrate(); });
    screen_->onEnd = [this] { trialEnds(); };
    showWords();
}

PenTrialView::~PenTrialView() = default;

void PenTrialView::setTexts(const HomeTexts& text) {
    text_ = text;
    screen_->setTexts(text);
    canvas_.setHint(text("Write or draw something here with the pen."));
    canvas_.setAccessibleName(text("Try the pen"));
    measure_.setText(text("Measure with nine crosses"));
    clear_.setText(text("Clear the canvas"));
    calibrate_.setText(text("Calibrate again"));
    showWords();
}

void PenTrialView::trialEnds() {
    const PenTrial& trial = screen_->trial();
    canvas_.showTrial(trial.outcome() ? std::optional(trial) : std::nullopt);
    showWords();
    measure_.setFocus(Qt::OtherFocusReason);
}

void PenTrialView::clear() {
    canvas_.clear();
    showWords();
}

void PenTrialView::showWords() {
    const auto& shown = canvas_.trial();
    const auto outcome = shown ? shown->outcome() : std::nullopt;
    words_.setText(shown ? penTrialWords(*shown, screen_->devicePixelRatioF(), text_) : QString());
    words_.setVisible(outcome.has_value());
    calibrate_.setVisible(outcome && !outcome->isGood());
}

} // namespace lightpen
