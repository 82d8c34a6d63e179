// SPDX-License-Identifier: MIT
// The application's window: when it is shown, what it says, and what is done in it.
#include "app/LightPenNX7Controller.h"

#include <utility>

#include <QAction>
#include <QApplication>
#include <QStyle>

#include "app/DebugWindow.h"
#include "app/DefaultsReading.h"
#include "app/HelpReport.h"
#include "app/LanguageChoice.h"
#include "app/home/Home.h"
#include "platform/Log.h"
#include "platform/PlatformSettings.h"

namespace lightpen {

namespace {

constexpr const char* kFromTheWindow = "window";

// Those that the open unit's flash holds; null without one.
PointListRef storedPoints() {
    return EventGeneratorNX7::isUnitOpen()
               ? EventGeneratorNX7::sharedEventGeneratorNX7()->calibrationPointsFromFlash()
               : nullptr;
}

} // namespace

struct LightPenNX7Controller::HomeParts {
    ProgramFacts facts;
    PointListRef before;        // the calibration before the last one, of the unit that is open
    std::unique_ptr<Home> home; // null before the window is first shown
};

LightPenNX7Controller::HomeParts& LightPenNX7Controller::homeParts() {
    if (!home_)
        home_ = std::make_shared<HomeParts>();
    return *home_;
}

void LightPenNX7Controller::setProgramFacts(const ProgramFacts& facts) {
    homeParts().facts = facts;
}

void LightPenNX7Controller::makeHome() {
    Home::Deeds deeds;
    if (homeParts().facts.camera)
        deeds.switchCamera = homeParts().facts.camera->switchOn;
    deeds.calibration = {[this] { calibrate(false, kFromTheWindow); },
                         [this] { calibrate(true, kFromTheWindow); }, [this] { undoCalibration(); }};
    deeds.settings = {[this](std::string_view key) { settingDidChange(key); },
                      [this](int tag) {
                          if (!deviceConnected_)
                              return updateHome();
                          QAction chosen;
                          chosen.setData(tag);
                          distance(chosen);
                      }};
    deeds.unit = {[] { return EventGeneratorNX7::sharedEventGeneratorNX7()->previewImage(); }, storedPoints};
    deeds.openHelp = [this] { help(); };
    deeds.report = [this] { return QString::fromStdString(helpReport(homeParts().facts)); };
    homeParts().home = std::make_unique<Home>(std::move(deeds));
}

// The texts may not be there yet: a unit that never answers holds up the start.
void LightPenNX7Controller::showHome() {
    if (Platform::current().systemUI.isScreenCovered())
        return;
    if (stringDict.entries.empty())
        loadLanguage(choosePreferredLanguage(), controllerState.menuMode);
    loadLanguages();
    if (!homeParts().home)
        makeHome();
    HomeWindow& shown = homeParts().home->window();
    shown.bringToFront();
    updateHome();
    Platform::current().systemUI.activateIgnoringOtherApps();
    if (!isSet(kWindowShownKey))
        Platform::current().defaults.setObject(kWindowShownKey, true);
}

// While it is hidden nothing is made; showing it does.
void LightPenNX7Controller::updateHome() {
    if (!home_ || !home_->home || !home_->home->window().isVisible())
        return;
    Home::Content content;
    content.state = {conditionPicture(), conditionWords(QStringLiteral("\n")), conditionAdvice(),
                     QString::fromStdString(condition_.detail())};
    content.possible = {.byTouching = deviceConnected_,
                        .automatically = deviceConnected_ && home_->facts.cameraSeesScreen,
                        .undo = deviceConnected_ && home_->before,
                        .cameraSeesScreen = home_->facts.cameraSeesScreen};
    for (const std::string& language : languages)
        if (const std::string* identifier = textFor(languageDict, language))
            content.languages.emplace_back(language, *identifier);
    content.texts = [this](std::string_view key) { return displayText(key); };
    content.facts = home_->facts;
    home_->home->setContent(content);
}

// The program's own camera says why there is no unit, and is told of as long as it looks.
QString LightPenNX7Controller::conditionWords(const QString& between) {
    QString words = displayText(PenCondition::textKey(condition_.state()));
    const auto& camera = homeParts().facts.camera;
    if (!camera || words.isEmpty())
        return words;
    const QString ofCamera = displayText(camera->state());
    return condition_.state() == PenCondition::State::noUnit ? ofCamera : words + between + ofCamera;
}

// Nothing is plugged in for the program's own camera.
QString LightPenNX7Controller::conditionAdvice() {
    const PenCondition::State state = condition_.state();
    if (state == PenCondition::State::noUnit && homeParts().facts.camera)
        return {};
    return displayText(PenCondition::adviceKey(state));
}

// Those of the item for what is as it may be, the desktop's own sign for what is to be mended.
QIcon LightPenNX7Controller::conditionPicture() {
    switch (condition_.state()) {
    case PenCondition::State::ready:
        return statusImage("connect");
    case PenCondition::State::noUnit:
    case PenCondition::State::otherSession:
        return statusImage("disconn");
    default:
        return QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning);
    }
}

const ProgramCamera::Calibration* LightPenNX7Controller::cameraCalibration() {
    const auto& camera = homeParts().facts.camera;
    return camera && camera->calibration ? &*camera->calibration : nullptr;
}

// Whoever asks is a program, so that nothing comes up in front of a locked screen or a calibration.
bool LightPenNX7Controller::performAction(const std::string& action) {
    if (Platform::current().systemUI.isScreenCovered() || (calibrationCenter_ && calibrates()))
        return false;
    if (action == "help") {
        help();
    } else if (action == "calibrate" && deviceConnected_) {
        calibration("request");
    } else if (action == "show" || action == "settings" || action == "calibrate") {
        showHome();
        if (action == "settings")
            homeParts().home->window().showPage(Home::kSettingsPage);
    } else {
        logLine("Application: asked for something that it does not do");
        return false;
    }
    return true;
}

void LightPenNX7Controller::keepCalibrationBefore(const PointListRef& points) {
    homeParts().before = points;
    updateHome();
}

void LightPenNX7Controller::forgetUnitBefore() {
    if (homeParts().home)
        homeParts().home->unitDidArrive();
    keepCalibrationBefore(nullptr);
}

void LightPenNX7Controller::undoCalibration() {
    if (const PointListRef before = homeParts().before)
        restoreCalibration(before);
    updateHome();
}

// Those that are not named here count the next time that somebody reads them. Before the first menu, which a
// unit may hold up, so do those of the menu.
void LightPenNX7Controller::settingDidChange(std::string_view key) {
    if (key == kLaunchAtStartUpKey) {
        processLaunchAtStartUp();
    } else if (key == kMainScreenKey) {
        Platform::current().notifications.post({std::string(kMainScreenWasChosen)});
    } else if (key == kDebugWindowKey) {
        if (isSet(key))
            showDebugWindow(*EventGeneratorNX7::sharedEventGeneratorNX7(), deviceConnected_);
        else if (debugWindow)
            debugWindow->hide();
    } else if (const auto mode = controllerState.menuMode.load();
               mode != MenuMode{0} && (key == kLocaleIdentifierKey || key == kProjectionDistanceSettingKey ||
                                       key == kLanguageSettingKey || key == kHelpMenuKey)) {
        rebuildMenu(mode);
    }
}

} // namespace lightpen
