// SPDX-License-Identifier: MIT
// The status item's two menus.
#include <utility>

#include <QAction>
#include <QMenu>

#include "app/DefaultsReading.h"
#include "app/LanguageChoice.h"
#include "app/LightPenNX7Controller.h"
#include "app/MenuItems.h"
#include "app/StatusItem.h"
#include "platform/Log.h"
#include "platform/Platform.h"

namespace lightpen {

namespace {

constexpr std::string_view kAboutKey = "About...";
constexpr std::string_view kExitKey = "Exit";

const char* textOrNone(const std::string* text) {
    return text ? text->c_str() : "(null)";
}

QString localized(std::string_view key) {
    return QString::fromStdString(Platform::current().shell.bundle.localizedStringForKey(key));
}

std::shared_ptr<QMenu> newMenu() {
    return std::make_shared<QMenu>(localized("LightPenNX7"));
}

} // namespace

const std::string* LightPenNX7Controller::displayString(std::string_view key) const {
    return textFor(stringDict, key);
}

QString LightPenNX7Controller::displayText(std::string_view key) const {
    const std::string* text = displayString(key);
    return text ? QString::fromStdString(*text) : QString();
}

void LightPenNX7Controller::rebuildMenu(MenuMode menuMode) {
    statusItem->setMenu(nullptr);
    statusItem->setMenu(constructMenu(menuMode));
    showToolTip();
}

std::shared_ptr<QMenu> LightPenNX7Controller::constructMenu(MenuMode menuMode) {
    logLine("Light n:311 ");
    const std::string identifier = choosePreferredLanguage();
    loadLanguage(identifier, menuMode);
    constructPreviewWindow();
    return menuMode == MenuMode::full ? constructMenuForLocalIdentifier(identifier)
                                      : ExitMenuForLocalIdentifier();
}

std::shared_ptr<QMenu> LightPenNX7Controller::constructMenuForLocalIdentifier(const std::string& identifier) {
    logLine("Light n:165 ");
    auto menu = newMenu();
    addItem(*menu, "Calibration", [](auto& self, QAction& item) { self.calibration(describe(item)); });
    // The two defaults that are read and not used are part of what the settings file is asked for.
    const UserDefaults& defaults = Platform::current().defaults;
    static_cast<void>(defaults.objectForKey(kProjectionDistanceKey));
    if (isSet(kProjectionDistanceSettingKey))
        addDistances(*menu);
    static_cast<void>(defaults.objectForKey(kPreviewWindowKey));
    if (isSet(kLanguageSettingKey))
        addLanguages(*menu, identifier);
    logLine("Light n:280 %s", textOrNone(displayString(kAboutKey)));
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

void LightPenNX7Controller::addLanguages(QMenu& menu, const std::string& identifier) {
    QMenu& submenu = addSubmenu(menu, "Language");
    loadLanguages();
    const auto chosen = languageKeyOf(identifier);
    for (const std::string& language : languages) {
        logLine("Light n:260 %s == %s", language.c_str(), textOrNone(textFor(languageDict, language)));
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
