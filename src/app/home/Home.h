// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "app/home/CalibrationPage.h"
#include "app/home/HomeWindow.h"
#include "app/home/ProgramFacts.h"
#include "app/home/SettingsPage.h"
#include "app/home/StateLine.h"
#include "app/home/UnitView.h"

namespace lightpen {

class CameraSwitch;
class HelpPage;
class PenTrialView;

// The application's window with its pages, and what they are told. Main thread, with the platform in place.
class Home {
public:
    // What the user may ask for in it.
    struct Deeds {
        CalibrationPage::Deeds calibration;
        SettingsPage::Deeds settings;
        UnitView::Unit unit;
        std::function<void()> openHelp;
        std::function<QString()> report; // without it nothing offers one
        // The camera is the program's own, and is switched on and off; without it, it is not.
        std::function<void(bool)> switchCamera;
    };
    // What is shown.
    struct Content {
        ShownState state;
        CalibrationPage::Possible possible;
        SettingsPage::Languages languages;
        HomeTexts texts;
        ProgramFacts facts;
    };

    // The titles of its pages, as keys.
    static constexpr std::string_view kCalibrationPage = "Calibration";
    static constexpr std::string_view kPenTrialPage = "Try the pen";
    static constexpr std::string_view kUnitPage = "Camera picture";
    static constexpr std::string_view kSettingsPage = "Settings";
    static constexpr std::string_view kHelpPage = "Help";

    explicit Home(Deeds deeds);
    // Shows this from now on.
    void setContent(const Content& content);
    // There is another unit than before, perhaps after none.
    void unitDidArrive() { unit_->unitDidArrive(); }
    HomeWindow& window() { return window_; }

private:
    QWidget* unitPage();

    HomeWindow window_;
    CalibrationPage* const calibration_;
    PenTrialView* const penTrial_;
    UnitView* const unit_;
    CameraSwitch* const camera_; // null where the camera is not the program's own
    SettingsPage* const settings_;
    HelpPage* const help_;
};

} // namespace lightpen
