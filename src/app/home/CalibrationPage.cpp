// SPDX-License-Identifier: MIT
#include "app/home/CalibrationPage.h"

#include <initializer_list>
#include <utility>

#include <QPushButton>
#include <QVBoxLayout>

#include "app/home/PlainLabel.h"

namespace lightpen {

namespace {

QLabel* plainLabel() {
    auto* const label = new QLabel;
    showPlainText(*label);
    return label;
}

} // namespace

CalibrationPage::CalibrationPage(Deeds deeds, First first, QWidget* parent)
    : QWidget(parent), byTouching_(addRow("calibrateByTouching", std::move(deeds.byTouching))),
      automatically_(addRow("calibrateAutomatically", std::move(deeds.automatically))),
      undo_(addRow("undoCalibration", std::move(deeds.undo))), whyNot_(plainLabel()), film_(plainLabel()) {
    whyNot_->setObjectName("whyNotAutomatically");
    auto& rows = dynamic_cast<QVBoxLayout&>(*layout());
    film_->setObjectName("filmHidesTargets");
    rows.insertWidget(rows.indexOf(automatically_.words) + 1, whyNot_);
    rows.insertWidget(rows.indexOf(whyNot_) + 1, film_);
    rows.addStretch(1);
    film_->setVisible(first == First::automatically);
    if (first == First::automatically)
        putAutomaticallyFirst();
    setPossible({});
}

void CalibrationPage::putAutomaticallyFirst() {
    auto& rows = dynamic_cast<QVBoxLayout&>(*layout());
    int place = 0;
    for (QWidget* const widget : std::initializer_list<QWidget*>{automatically_.words, whyNot_, film_}) {
        rows.removeWidget(widget);
        rows.insertWidget(place++, widget);
    }
    rows.removeWidget(automatically_.button);
    rows.insertWidget(0, automatically_.button, 0, Qt::AlignLeading);
    rows.insertSpacing(++place, rows.spacing());
    setTabOrder(automatically_.button, byTouching_.button);
}

CalibrationPage::Row CalibrationPage::addRow(const char* name, std::function<void()> deed) {
    if (!layout())
        new QVBoxLayout(this);
    auto& rows = dynamic_cast<QVBoxLayout&>(*layout());
    const Row row{new QPushButton, plainLabel()};
    row.button->setObjectName(name);
    rows.addWidget(row.button, 0, Qt::AlignLeading);
    rows.addWidget(row.words);
    rows.addSpacing(rows.spacing());
    connect(row.button, &QPushButton::clicked, this, std::move(deed));
    return row;
}

void CalibrationPage::setPossible(const Possible& possible) {
    byTouching_.button->setEnabled(possible.byTouching);
    automatically_.button->setEnabled(possible.automatically);
    undo_.button->setEnabled(possible.undo);
    whyNot_->setVisible(!possible.cameraSeesScreen);
}

void CalibrationPage::say(const Row& row, const QString& button, const QString& words) {
    row.button->setText(button);
    row.button->setAccessibleDescription(words);
    row.words->setText(words);
}

void CalibrationPage::setTexts(const HomeTexts& texts) {
    say(byTouching_, texts("Calibrate by touching"),
        texts("Touch the four targets with the pen, one after the other."));
    say(automatically_, texts("Calibrate automatically"),
        texts("The camera finds four targets by itself. Keep pen and hands out of the picture."));
    say(undo_, texts("Undo the last calibration"), texts("The calibration before it counts again."));
    whyNot_->setText(texts("Not possible here: this desktop lets no program look at the screen, and the "
                           "camera in software needs to."));
    film_->setText(
        texts("With a film before the lens the camera does not see the targets: calibrate before it "
              "is on, or by touching."));
}

} // namespace lightpen
