// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <QVariant>
#include <QWidget>

#include "app/home/HomeTexts.h"
#include "app/home/ScreenNames.h"
#include "platform/Defaults.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QPushButton;

namespace lightpen {

// The user's settings, as they are stored, to be changed. Each counts at once but for those of which the page
// says something else. Main thread, with the platform in place.
class SettingsPage final : public QWidget {
public:
    // Called when the user has changed something.
    struct Deeds {
        // The setting has this key and is stored already.
        std::function<void(std::string_view key)> changed;
        // The projection distance has this tag, 0 for the farthest to 2; it is not stored yet.
        std::function<void(int tag)> distance;
    };

    // The key of each language that can be chosen, and its identifier.
    using Languages = std::vector<std::pair<std::string, std::string>>;

    explicit SettingsPage(Deeds deeds, QWidget* parent = nullptr);

    // Shows what is stored now, with the screens that are there. A distance is sent to the unit, so that none
    // can be chosen while there is no unit.
    void showSettings(const Languages& languages, const HomeTexts& texts, bool unitIsThere);

private:
    struct Switch {
        std::string_view key;
        std::string_view text;
        QCheckBox* box;
    };
    QComboBox* addChoice(const char* name, std::function<void(const QVariant&)> chosen);
    QLabel* labelOf(QWidget& field);
    void addScreens();
    void addSwitches();
    void putInTabOrder();
    void store(std::string_view key, const QVariant& value);
    void showScreens(const HomeTexts& texts);
    void showDistances(const HomeTexts& texts);
    void showLanguages(const Languages& languages, const HomeTexts& texts);
    void showWays(const HomeTexts& texts);

    const Deeds deeds_;
    QFormLayout* const rows_;
    QComboBox* const screen_;
    QPushButton* const identify_;
    QComboBox* const distance_;
    QComboBox* const language_;
    std::vector<Switch> switches_;
    QLabel* const later_;
    QComboBox* const pointer_;
    QComboBox* const log_;
    ScreenNames names_;
};

} // namespace lightpen
