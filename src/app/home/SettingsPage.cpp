// SPDX-License-Identifier: MIT
#include "app/home/SettingsPage.h"

#include <algorithm>
#include <utility>

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLocale>
#include <QPushButton>
#include <QSignalBlocker>

#include "app/DefaultsReading.h"
#include "app/home/PlainLabel.h"
#include "platform/PlatformSettings.h"

namespace lightpen {

namespace {

constexpr int kFarthest = 0, kNearest = 2; // the distances' tags

QString storedText(std::string_view key) {
    return QString::fromStdString(stored<std::string>(key).value_or(std::string()));
}

// A list whose first entry stands for no value of the setting, with the entry of this value chosen.
using Entries = std::vector<std::pair<QString, QVariant>>; // what is shown, what it stands for

bool holds(const QComboBox& list, const Entries& entries) {
    int row = 0;
    for (const auto& [text, value] : entries) {
        if (list.itemText(row) != text || list.itemData(row) != value)
            return false;
        ++row;
    }
    return list.count() == row;
}

// One that is open while a unit comes stays open; only with other entries it closes.
void fill(QComboBox& list, const Entries& entries, const QVariant& chosen) {
    const QSignalBlocker quiet(list);
    if (!holds(list, entries)) {
        list.hidePopup();
        list.clear();
        for (const auto& [text, value] : entries)
            list.addItem(text, value);
    }
    list.setCurrentIndex(list.findData(chosen));
    list.setMinimumWidth(list.sizeHint().width()); // no layout makes it narrower than its longest entry
}

// As its speakers write it, for whoever does not read the present one; then as the others call it.
QString nameOfLanguage(const std::string& identifier, const QString& translated) {
    const QString own = QLocale(QString::fromStdString(identifier)).nativeLanguageName();
    if (own.isEmpty() || own.compare(translated, Qt::CaseInsensitive) == 0)
        return translated;
    return own + QStringLiteral(" – ") + translated;
}

} // namespace

SettingsPage::SettingsPage(Deeds deeds, QWidget* parent)
    : QWidget(parent), deeds_(std::move(deeds)), rows_(new QFormLayout(this)),
      screen_(addChoice("screenChoice", [this](const QVariant& value) { store(kMainScreenKey, value); })),
      identify_(new QPushButton),
      distance_(
          addChoice("distanceChoice", [this](const QVariant& value) { deeds_.distance(value.toInt()); })),
      language_(
          addChoice("languageChoice", [this](const QVariant& value) { store(kLocaleIdentifierKey, value); })),
      later_(new QLabel),
      pointer_(addChoice("pointerChoice", [this](const QVariant& value) { store(kPointerKey, value); })),
      log_(addChoice("logChoice", [this](const QVariant& value) { store(kLogKey, value); })) {
    rows_->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    addScreens();
    for (QComboBox* const each : {distance_, language_})
        rows_->addRow(labelOf(*each), each);
    addSwitches();
    showPlainText(*later_);
    rows_->addRow(later_);
    for (QComboBox* const each : {pointer_, log_})
        rows_->addRow(labelOf(*each), each);
    putInTabOrder();
}

// Qt's own is that of the making.
void SettingsPage::putInTabOrder() {
    std::vector<QWidget*> order{screen_, identify_, distance_, language_};
    for (const Switch& each : switches_)
        order.push_back(each.box);
    order.insert(order.end(), {pointer_, log_});
    for (std::size_t i = 1; i < order.size(); ++i)
        setTabOrder(order[i - 1], order[i]);
}

QComboBox* SettingsPage::addChoice(const char* name, std::function<void(const QVariant&)> chosen) {
    auto* const list = new QComboBox(this);
    list->setObjectName(name);
    list->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    connect(list, &QComboBox::activated, this,
            [list, chosen = std::move(chosen)](int index) { chosen(list->itemData(index)); });
    return list;
}

// Made by the first call.
QLabel* SettingsPage::labelOf(QWidget& field) {
    for (auto* const label : findChildren<QLabel*>())
        if (label->buddy() == &field)
            return label;
    auto* const label = new QLabel(this);
    label->setBuddy(&field);
    return label;
}

void SettingsPage::addScreens() {
    identify_->setObjectName("identify");
    connect(identify_, &QPushButton::clicked, this, [this] { names_.show(); });
    auto* const both = new QHBoxLayout;
    both->addWidget(screen_);
    both->addWidget(identify_);
    rows_->addRow(labelOf(*screen_), both);
}

void SettingsPage::addSwitches() {
    static constexpr std::pair<std::string_view, std::string_view> kSwitches[] = {
        {kLaunchAtStartUpKey, "Start at login"},
        {kAutoCalibrationKey, "The menu calibrates automatically"},
        {kProjectionDistanceSettingKey, "Show the projection distance in the menu"},
        {kLanguageSettingKey, "Show the languages in the menu"},
        {kHelpMenuKey, "Show the help in the menu"},
        {kDebugWindowKey, "Show the debug window"},
    };
    for (const auto& [key, text] : kSwitches) {
        auto* const box = new QCheckBox;
        box->setObjectName(QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size())));
        connect(box, &QCheckBox::clicked, this, [this, key = key](bool on) { store(key, on); });
        switches_.push_back({key, text, box});
        rows_->addRow(box);
    }
}

// An empty text takes the setting away.
void SettingsPage::store(std::string_view key, const QVariant& value) {
    UserDefaults& defaults = Platform::current().defaults;
    if (value.typeId() == QMetaType::Bool)
        defaults.setObject(key, value.toBool());
    else if (const std::string text = value.toString().toStdString(); text.empty())
        defaults.removeObjectForKey(key);
    else
        defaults.setObject(key, text);
    deeds_.changed(key);
}

void SettingsPage::showSettings(const Languages& languages, const HomeTexts& texts, bool unitIsThere) {
    showScreens(texts);
    showDistances(texts);
    distance_->setEnabled(unitIsThere);
    showLanguages(languages, texts);
    for (const Switch& each : switches_) {
        each.box->setText(texts(each.text));
        each.box->setChecked(isSet(each.key));
    }
    later_->setText(texts("These count from the next start on:"));
    showWays(texts);
}

// A chosen screen that is not there stays in the list: a projector is plugged in later.
void SettingsPage::showScreens(const HomeTexts& texts) {
    const QString chosen = storedText(kMainScreenKey);
    Entries entries{{texts("The desktop's primary screen"), QString()}};
    for (const Screen& screen : Platform::current().desktop.screens()) {
        const QString name = QString::fromStdString(screen.name);
        entries.emplace_back(name, name);
    }
    const auto isChosen = [&](const auto& entry) { return entry.second.toString() == chosen; };
    if (std::ranges::none_of(entries, isChosen))
        entries.emplace_back(texts("%1 (not connected)").arg(chosen), chosen);
    labelOf(*screen_)->setText(texts("Screen with the picture"));
    fill(*screen_, entries, chosen);
    identify_->setText(texts("Identify"));
}

void SettingsPage::showDistances(const HomeTexts& texts) {
    labelOf(*distance_)->setText(texts("Projection Distance"));
    fill(
        *distance_,
        {{texts("Distance1"), kNearest}, {texts("Distance2"), kNearest - 1}, {texts("Distance3"), kFarthest}},
        static_cast<int>(stored<std::int64_t>(kProjectionDistanceKey).value_or(-1)));
}

void SettingsPage::showLanguages(const Languages& languages, const HomeTexts& texts) {
    Entries entries{{texts("The system's language"), QString()}};
    for (const auto& [key, identifier] : languages)
        entries.emplace_back(nameOfLanguage(identifier, texts(key)), QString::fromStdString(identifier));
    labelOf(*language_)->setText(texts("Language"));
    fill(*language_, entries, storedText(kLocaleIdentifierKey));
}

// "uinput" and "XTest" are called so everywhere.
void SettingsPage::showWays(const HomeTexts& texts) {
    const QString automatic = texts("Automatic");
    labelOf(*pointer_)->setText(texts("Way of the pointer"));
    fill(*pointer_,
         {{automatic, QString()}, {"uinput", QStringLiteral("uinput")}, {"XTest", QStringLiteral("xtest")}},
         storedText(kPointerKey));
    labelOf(*log_)->setText(texts("Log"));
    fill(*log_,
         {{automatic, QString()},
          {texts("To the terminal"), QStringLiteral("stderr")},
          {texts("To a file"), QStringLiteral("file")},
          {texts("No log"), QStringLiteral("none")}},
         storedText(kLogKey));
}

} // namespace lightpen
