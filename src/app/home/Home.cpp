// SPDX-License-Identifier: MIT
#include "app/home/Home.h"

#include <utility>

#include <QVBoxLayout>

#include "app/ProgramVersion.h"
#include "app/home/CameraSwitch.h"
#include "app/home/HelpPage.h"
#include "app/home/PenTrialView.h"

namespace lightpen {

Home::Home(Deeds deeds)
    : calibration_(new CalibrationPage(std::move(deeds.calibration),
                                       deeds.switchCamera ? CalibrationPage::First::automatically
                                                          : CalibrationPage::First::byTouching)),
      penTrial_(new PenTrialView), unit_(new UnitView(std::move(deeds.unit))),
      camera_(deeds.switchCamera ? new CameraSwitch(std::move(deeds.switchCamera)) : nullptr),
      settings_(new SettingsPage(std::move(deeds.settings))),
      help_(new HelpPage(std::move(deeds.openHelp), deeds.report)) {
    window_.addPage(std::string(kCalibrationPage), calibration_);
    window_.addPage(std::string(kPenTrialPage), penTrial_);
    window_.addPage(std::string(kUnitPage), camera_ ? unitPage() : unit_);
    window_.addPage(std::string(kSettingsPage), settings_);
    window_.addPage(std::string(kHelpPage), help_);
    penTrial_->onCalibrate = [this] { window_.showPage(kCalibrationPage); };
}

// The picture with the switch below it.
QWidget* Home::unitPage() {
    auto* const page = new QWidget;
    auto* const rows = new QVBoxLayout(page);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(unit_, 1);
    rows->addWidget(camera_);
    return page;
}

void Home::setContent(const Content& content) {
    calibration_->setPossible(content.possible);
    calibration_->setTexts(content.texts);
    penTrial_->setTexts(content.texts);
    unit_->setTexts(content.texts);
    unit_->unitDidChange();
    if (camera_ && content.facts.camera)
        camera_->setState(*content.facts.camera, content.texts);
    settings_->showSettings(content.languages, content.texts, content.possible.byTouching);
    help_->setFacts(QString::fromUtf8(kProgramVersion), QString::fromStdString(content.facts.logFile));
    help_->setTexts(content.texts);
    window_.setState(content.state);
    window_.setTexts(content.texts);
}

} // namespace lightpen
