// SPDX-License-Identifier: MIT
// The status item's two menus, and the language of their texts and of the windows'.
#include "app/LightPenNX7Controller.h"

#include <utility>

#include <QAction>
#include <QMenu>

#include "app/DefaultsReading.h"
#include "app/LanguageChoice.h"
#include "app/MenuItems.h"
#include "app/StatusItem.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr std::string_view kAboutKey = "About...";
constexpr std::string_view kExitKey = "Exit";

std::string textOrNull(const QString& text) {
    return text.isNull() ? "(null)" : text.toStdString();
}

QString localized(std::string_view key) {
    return QString::fromStdString(Platform::current().shell.bundle.localizedStringForKey(key));
}

std::shared_ptr<QMenu> newMenu() {
    return std::make_shared<QMenu>(localized("LightPenNX7"));
}

} // namespace

// Null where the language has no such text.
QString LightPenNX7Controller::displayText(std::string_view key) const {
    const std::string* text = textFor(stringDict, key);
    return text ? QString::fromStdString(*text) : QString();
}

void LightPenNX7Controller::rebuildMenu(MenuMode menuMode) {
    controllerState.menuMode = menuMode;
    statusItem_->setMenu(nullptr);
    statusItem_->setMenu(constructMenu(menuMode));
    showToolTip();
    offerToCancel();
}

void LightPenNX7Controller::showToolTip() {
    const QString words = conditionWords(QStringLiteral(" \u2013 "));
    const QString name = localized("LightPenNX7");
    statusItem_->setToolTip(words.isEmpty() ? name : QStringLiteral("%1 \u2013 %2").arg(name, words));
    updateHome();
}

// Escape needs the keyboard, which a desktop may have given to another window.
void LightPenNX7Controller::offerToCancel() {
    statusItem_->setFirstItem(calibrates() ? itemText(displayText(kCancelKey)) : QString(),
                              [self = weak_from_this()] {
                                  if (const auto running = self.lock())
                                      running->cancelCalibration();
                              });
}

// The click is over first: it is that of an item which then goes.
void LightPenNX7Controller::cancelCalibration() {
    calibrationCenter_->cancelSession();
    Platform::current().runLoop.performOnMainThread(
        {this, "cancelCalibration", {}, [self = weak_from_this()] {
             const auto running = self.lock();
             if (!running)
                 return;
             if (const auto* camera = running->cameraCalibration())
                 camera->end();
         }});
}

std::shared_ptr<QMenu> LightPenNX7Controller::constructMenu(MenuMode menuMode) {
    logLine("Light n:311 ");
    const std::string identifier = choosePreferredLanguage();
    loadLanguage(identifier, menuMode);
    constructPreviewWindow();
    return menuMode == MenuMode::full ? constructMenuForLocalIdentifier(identifier)
                                      : ExitMenuForLocalIdentifier();
}

std::string LightPenNX7Controller::choosePreferredLanguage() const {
    if (const auto chosen = stored<std::string>(kLocaleIdentifierKey))
        return chooseIdentifier(*chosen);
    const auto preferred = Platform::current().shell.locales.preferredLanguages();
    return chooseIdentifier(preferred.empty() ? std::string() : preferred.front());
}

void LightPenNX7Controller::loadLanguage(const std::string& identifier, MenuMode menuMode) {
    const Bundle& bundle = Platform::current().shell.bundle;
    if (languageDict.entries.empty())
        languageDict =
            bundle.dictionaryWithContentsOfResource("Language", "plist").value_or(PropertyListDictionary());
    logLine("Light n:384 %s modeMenu:%d", identifier.c_str(), static_cast<int>(menuMode));
    stringDict = {};
    if (const auto key = languageKeyOf(identifier))
        stringDict =
            bundle.dictionaryWithContentsOfResource(*key, "strings").value_or(PropertyListDictionary());
}

std::optional<std::string> LightPenNX7Controller::languageKeyOf(const std::string& identifier) const {
    if (const std::string* key = languageKeyFor(languageDict, identifier))
        return *key;
    if (const std::string* key = firstKeyFor(languageDict, kFallbackIdentifier)) {
        logLine("Application: there is no language \"%s\"; the menu is in English", identifier.c_str());
        return *key;
    }
    logLine("Range error in LightPenNX7Controller %p constructMenu: Language.plist has no language for the "
            "identifier \"%s\"%s",
            static_cast<const void*>(this), identifier.c_str(),
            stored<std::string>(kLocaleIdentifierKey) == identifier
                ? " (chosen by \"Language\" in the settings)"
                : "");
    Platform::current().runLoop.exitProcess(EXIT_FAILURE);
    return std::nullopt;
}

void LightPenNX7Controller::constructPreviewWindow() {
    logLine("Light n:310 %s", textOrNull(displayText(PenCondition::kStrayLightMessage)).c_str());
    titlePreviewWindow();
    titleDebugWindow();
}

std::shared_ptr<QMenu> LightPenNX7Controller::constructMenuForLocalIdentifier(const std::string& identifier) {
    logLine("Light n:165 ");
    auto menu = newMenu();
    addItem(*menu, kCalibrationKey, [](auto& self, QAction& item) { self.calibration(describe(item)); });
    // The two defaults that are read and not used are part of what the settings file is asked for.
    const UserDefaults& defaults = Platform::current().defaults;
    static_cast<void>(defaults.objectForKey(kProjectionDistanceKey));
    if (isSet(kProjectionDistanceSettingKey))
        addDistances(*menu);
    static_cast<void>(defaults.objectForKey(kPreviewWindowKey));
    if (isSet(kLanguageSettingKey))
        addLanguages(*menu, identifier);
    logLine("Light n:280 %s", textOrNull(displayText(kAboutKey)).c_str());
    menu->addSeparator();
    if (isSet(kHelpMenuKey))
        addItem(*menu, "Help", [](auto& self, QAction&) { self.help(); });
    addItem(*menu, kAboutKey, [](auto& self, QAction& item) { self.about(describe(item)); });
    addItem(*menu, kExitKey, [](auto& self, QAction& item) { self.exit(describe(item)); });
    return menu;
}

std::shared_ptr<QMenu> LightPenNX7Controller::ExitMenuForLocalIdentifier() {
    logLine("Light n:150 ");
    auto menu = newMenu();
    addItem(*menu, kExitKey, [](auto& self, QAction& item) { self.exit(describe(item)); });
    return menu;
}

// Qt gives a menu and the item that it hangs on one title; the other one is the menu's as a window.
QMenu& LightPenNX7Controller::addSubmenu(QMenu& menu, std::string_view titleKey) {
    QMenu& submenu = *menu.addMenu(itemText(displayText(titleKey)));
    submenu.setWindowTitle(localized("Sub Menu"));
    validateBeforeShown(submenu);
    return submenu;
}

QAction& LightPenNX7Controller::addItem(QMenu& menu, std::string_view titleKey, ItemOperation operation) {
    QAction* const item = menu.addAction(itemText(displayText(titleKey)));
    QObject::connect(item, &QAction::triggered, item,
                     [item, self = weak_from_this(), operation = std::move(operation)] {
                         // Qt turns the mark of a chosen item over; here the operations alone do.
                         if (item->isCheckable())
                             item->setChecked(!item->isChecked());
                         if (const auto controller = self.lock())
                             operation(*controller, *item);
                     });
    return *item;
}

void LightPenNX7Controller::validateItems(const QMenu& menu) {
    for (QAction* item : menu.actions())
        if (!item->isSeparator() && !item->menu())
            item->setEnabled(validateMenuItem(*item));
}

// For the menus that hang on items; the status item tells when it opens the first one.
void LightPenNX7Controller::validateBeforeShown(QMenu& menu) {
    QObject::connect(&menu, &QMenu::aboutToShow, &menu, [&menu, self = weak_from_this()] {
        if (const auto controller = self.lock())
            controller->validateItems(menu);
    });
}

bool LightPenNX7Controller::validateMenuItem(const QAction&) {
    logLine("Light n:769 ");
    return true;
}

// The farthest comes first and has the lowest tag; the tag is the place of its threshold.
void LightPenNX7Controller::addDistances(QMenu& menu) {
    QMenu& submenu = addSubmenu(menu, "Projection Distance");
    distanceItem3 = addDistance(submenu, "Distance3", 0);
    distanceItem2 = addDistance(submenu, "Distance2", 1);
    distanceItem1 = addDistance(submenu, "Distance1", 2);
    markDistances(EventGeneratorNX7::sharedEventGeneratorNX7()->forcedExposure());
}

QPointer<QAction> LightPenNX7Controller::addDistance(QMenu& menu, std::string_view titleKey, int tag) {
    QAction& item = addItem(menu, titleKey, [](auto& self, QAction& chosen) { self.distance(chosen); });
    item.setCheckable(true);
    item.setData(tag);
    return &item;
}

void LightPenNX7Controller::loadLanguages() {
    if (!languages.empty())
        return;
    const auto list = Platform::current().shell.bundle.objectForInfoDictionaryKey("Supported Language");
    if (const auto* keys = list ? list->as<PropertyListArray>() : nullptr)
        for (const PropertyListValue& key : *keys)
            if (const auto* text = key.as<std::string>())
                languages.push_back(*text);
    if (languages.empty())
        logLine("Application: Info.plist has no list \"Supported Language\"; no language can be chosen");
}

void LightPenNX7Controller::addLanguages(QMenu& menu, const std::string& identifier) {
    QMenu& submenu = addSubmenu(menu, "Language");
    loadLanguages();
    const auto chosen = languageKeyOf(identifier);
    for (const std::string& language : languages) {
        const std::string* itsIdentifier = textFor(languageDict, language);
        logLine("Light n:260 %s == %s", language.c_str(), itsIdentifier ? itsIdentifier->c_str() : "(null)");
        QAction& item =
            addItem(submenu, language, [](auto& self, QAction& sender) { self.switchLanguage(sender); });
        item.setCheckable(true);
        item.setChecked(language == chosen);
        item.setData(0);
    }
}

void LightPenNX7Controller::localeDidChanged(const Notification&) {
    logLine("Light n:322 ");
    rebuildMenu(controllerState.menuMode);
}

} // namespace lightpen
