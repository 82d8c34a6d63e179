// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>

#include "app/LightPenNX7Controller.h"
#include "app/StatusItem.h"
#include "kit/TemporaryDirectory.h"
#include "kit/calibration/SessionFixture.h"
#include "kit/resources/TableAudit.h"

namespace lightpen {

inline PropertyListDictionary dictionaryOf(const StringTable& texts) {
    PropertyListDictionary dictionary;
    for (const auto& [key, text] : texts)
        dictionary.entries.push_back({key, {text}});
    return dictionary;
}

// A controller in an application folder with three languages: the keys of the tables are their English texts,
// the German ones carry a "de:" before them and the Japanese ones a "ja:". The thresholds are 46, 23 and 12.
// Nothing is registered: a test sets the defaults it wants.
class ControllerFixture : public SessionFixture {
protected:
    ControllerFixture() {
        center.reset(); // the controller makes its own
        controllerState = ControllerState{};
        MemoryBundle& bundle = desk.bundle;
        bundle.dictionaries["Language.plist"] =
            dictionaryOf({{"English", "en"}, {"German", "de"}, {"Japanese", "ja"}});
        bundle.dictionaries["English.strings"] = table("");
        bundle.dictionaries["German.strings"] = table("de:");
        bundle.dictionaries["Japanese.strings"] = table("ja:");
        bundle.information.entries = {
            {"Threshold Values", {listOf<std::int64_t>({46, 23, 12})}},
            {"Supported Language", {listOf<std::string>({"English", "German", "Japanese"})}}};
        putPicture("disconn", 16, 16, "#ff0000");
        putPicture("connect", 16, 16, "#00ff00");
        putPicture("calib", 64, 64, "#0000ff");
        putPicture("auto", 48, 32, "#ffffff");
        putPicture("Picture 1", 128, 128, "#ff00ff");
    }
    // With the exposure that none of the distances has.
    void openUnit(const UnitFlash& flash = {}) {
        SessionFixture::openUnit(flash);
        setExposure(25);
        log.clear();
    }
    void setExposure(int exposure) {
        driver->setForcedExposure(exposure);
        happened.clear();
    }
    // A picture of one colour, as a file of its own.
    void putPicture(const std::string& name, int width, int height, const char* colour) {
        const std::string path = desk.bundle.files[name + ".svg"] = folder.file(name + ".svg");
        writeFile(path, QString(R"(<svg xmlns="http://www.w3.org/2000/svg" width="%1" height="%2">)"
                                R"(<rect width="%1" height="%2" fill="%3"/></svg>)")
                            .arg(width)
                            .arg(height)
                            .arg(colour)
                            .toStdString());
    }
    // The controller's last words come after the locals that a test listens with.
    ~ControllerFixture() override {
        log.onLine = nullptr;
        unit.onSetReport = nullptr;
        driver->setDeviceDelegate(nullptr);
    }
    // The desktop is about to show the menu.
    void openMenu() const {
        for (QObject* shown : menu().actions().front()->associatedObjects())
            if (auto* other = qobject_cast<QMenu*>(shown); other && other != &menu())
                Q_EMIT other->aboutToShow();
    }

    template <class Value>
    static PropertyListArray listOf(const std::vector<Value>& values) {
        PropertyListArray list;
        for (const Value& value : values)
            list.push_back({value});
        return list;
    }
    static PropertyListDictionary table(const std::string& mark) {
        StringTable texts;
        for (const std::string& key : tableKeys())
            texts.emplace_back(key, mark + key);
        return dictionaryOf(texts);
    }

    // All three optional parts of the full menu.
    void wantEverything() {
        for (const char* key : {"Projection Distance Setting", "Language Setting", "Help Menu"})
            desk.defaults.set[key] = true;
    }
    // The debug window, whose fields can then be read, from the start on.
    void wantDebugWindow() { desk.defaults.set["Debug Window"] = true; }
    // The controller starts, and what it said meanwhile is forgotten.
    void start() {
        controller->awakeFromNib();
        happened.clear();
        log.clear();
    }
    void startWithUnit(int exposure = 25) {
        openUnit();
        setExposure(exposure);
        start();
    }

    // The calibration that takes points; null when there is none.
    std::shared_ptr<KVRCalibrationCenter> session() const {
        return std::dynamic_pointer_cast<KVRCalibrationCenter>(driver->delegate());
    }
    QMenu& menu() const { return *controller->statusItem()->menu(); }
    // One of the program's windows, or a widget in one, by its name.
    template <class Widget = QWidget>
    static Widget& widget(const char* name) {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            QWidget* found = window->objectName() == name ? window : window->findChild<QWidget*>(name);
            if (auto* wanted = dynamic_cast<Widget*>(found))
                return *wanted;
        }
        throw std::runtime_error(std::string("no widget ") + name);
    }
    // Whether one of that name has been made and is on the screen.
    static bool isShown(const char* name) {
        for (const QWidget* window : QApplication::topLevelWidgets())
            if (window->objectName() == name && window->isVisible())
                return true;
        return false;
    }
    static std::string textOf(const char* field) { return widget<QLineEdit>(field).text().toStdString(); }
    // Each item in one word or more: "-" is a separator, "Language >" has a menu of its own, "* Distance1" is
    // marked.
    static std::vector<std::string> itemsOf(const QMenu& menu) {
        std::vector<std::string> items;
        for (const QAction* item : menu.actions())
            items.push_back(item->isSeparator()
                                ? "-"
                                : (item->isChecked() ? "* " : "") + item->text().toStdString() +
                                      (item->menu() ? " >" : ""));
        return items;
    }
    // The item of this text, in the menu or in one that hangs on it; null when there is none.
    static QAction* find(const QMenu& menu, const std::string& text) {
        for (QAction* item : menu.actions()) {
            if (item->text().toStdString() == text)
                return item;
            if (const QMenu* submenu = item->menu())
                if (QAction* found = find(*submenu, text))
                    return found;
        }
        return nullptr;
    }
    QAction& item(const std::string& text) const {
        QAction* found = find(menu(), text);
        if (!found)
            throw std::runtime_error("no item " + text);
        return *found;
    }
    QMenu& submenu(const std::string& text) const { return *item(text).menu(); }
    static std::string addressOf(const QAction& item) {
        return QString::asprintf("<QAction: %p>", static_cast<const void*>(&item)).toStdString();
    }

    const TemporaryDirectory folder;
    std::shared_ptr<LightPenNX7Controller> controller = std::make_shared<LightPenNX7Controller>();
};

} // namespace lightpen
