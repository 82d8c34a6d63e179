// SPDX-License-Identifier: MIT
// The application's window on a screen, in every language: nothing is cut, everything is in reach of the
// keyboard and of a screen reader. QT_SCALE_FACTOR says how many pixels a point has. A folder in
// LIGHTPEN_HOME_PICTURES gets its pictures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>

#include <QAbstractButton>
#include <QAccessible>
#include <QAccessibleInterface>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPalette>
#include <QScrollArea>
#include <QStyle>

#include "app/PenCondition.h"
#include "app/home/Home.h"
#include "kit/TestPlatform.h"
#include "kit/linux/TestMain.h"
#include "kit/linux/WindowManager.h"
#include "kit/linux/XNeighbour.h"
#include "kit/resources/ResourceFiles.h"
#include "linux_desktop/hid/PermissionCommand.h"
#include "measure/desktop/Patience.h"
#include "platform/UnitIdentifiers.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

constexpr std::uint8_t kControl = 37, kPageUp = 112, kPageDown = 117; // the server's own numbers
constexpr std::string_view kPages[] = {Home::kCalibrationPage, Home::kPenTrialPage, Home::kUnitPage,
                                       Home::kSettingsPage, Home::kHelpPage};
// Of an 800 x 600 screen, without a panel and the window manager's frame.
constexpr QSize kRoom(790, 520);

// Set by main.
std::string display;
int scale = 1;

std::string nameOf(const QWidget& widget) {
    return widget.metaObject()->className() + (" " + widget.objectName()).toStdString();
}

QPalette darkPalette() {
    QPalette dark(QColor(0x35, 0x35, 0x35));
    dark.setColor(QPalette::Base, QColor(0x23, 0x23, 0x23));
    return dark;
}

// How well the eye tells two colours apart, 1 to 21.
double contrast(const QColor& one, const QColor& other) {
    const auto part = [](double value) {
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    const auto light = [&](const QColor& colour) {
        return 0.2126 * part(colour.redF()) + 0.7152 * part(colour.greenF()) + 0.0722 * part(colour.blueF());
    };
    const auto [less, more] = std::minmax({light(one), light(other)});
    return (more + 0.05) / (less + 0.05);
}

class HomeOnScreenTest : public testing::Test {
protected:
    HomeOnScreenTest() {
        desk.desktop.others = {{"HDMI-1", {{1920, 0}, {1024, 768}}}};
        desk.defaults.set["Main Screen"] = std::string("DisplayPort-2");
        desk.defaults.set["Projection Distance"] = std::int64_t{1};
    }
    ~HomeOnScreenTest() override {
        QApplication::setPalette(QPalette());
        QCoreApplication::processEvents();
    }

    HomeWindow& window() { return home->window(); }
    // The window with as much in it as there can be.
    void show(const std::string& language) {
        Home::Deeds deeds;
        deeds.calibration = {[] {}, [] {}, [] {}};
        deeds.settings = {[](std::string_view) {}, [](int) {}};
        deeds.unit.points = [] { return std::make_shared<const PointList>(); };
        deeds.openHelp = [] {};
        deeds.report = [] { return QString("report"); };
        deeds.switchCamera = [](bool) {};
        home = std::make_unique<Home>(std::move(deeds));
        window().bringToFront();
        const StringTable table = shippedTable(language);
        Home::Content content;
        content.texts = [table](std::string_view key) { return QString::fromStdString(textOf(table, key)); };
        content.state = {
            window().style()->standardIcon(QStyle::SP_MessageBoxWarning),
            content.texts("Three of the places that you touched are close to one line. The pen may miss its "
                          "place."),
            content.texts(PenCondition::kStrayLightMessage),
            QString::fromStdString(commandForPermission({kUnitVendorID, kUnitFirstProductID}))};
        content.possible = {true, false, true, false};
        for (const Language& each : applicationLanguages())
            content.languages.emplace_back(each.key, each.identifier);
        content.facts.logFile = "/home/a-name-of-some-length/.local/state/LightPenNX7/log";
        content.facts.camera =
            ProgramCamera{[] { return "Another program uses the camera"; }, [] { return true; }, [](bool) {}};
        home->setContent(content);
        ASSERT_TRUE(comesTrue([&] { return window().isActiveWindow(); }));
    }
    void showPage(std::string_view key) {
        window().showPage(key);
        settle();
    }
    static void settle() {
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
    }
    template <class Widget>
    std::vector<Widget*> shown() {
        std::vector<Widget*> all;
        for (Widget* each : window().findChildren<Widget*>())
            if (each->isVisible())
                all.push_back(each);
        return all;
    }
    // What is written in less room than it needs, or outside of what holds it.
    std::vector<std::string> cutTexts() {
        std::vector<std::string> cut;
        const auto check = [&](const QWidget& widget, QSize needed, const QString& text) {
            const bool inside = widget.parentWidget()->rect().contains(widget.geometry());
            if (!inside || widget.width() < needed.width() || widget.height() < needed.height())
                cut.push_back(nameOf(widget) + ": " + text.toStdString());
        };
        for (const QLabel* label : shown<QLabel>())
            check(*label,
                  label->wordWrap() ? QSize(0, label->heightForWidth(label->width())) : label->sizeHint(),
                  label->text());
        for (const QAbstractButton* button : shown<QAbstractButton>())
            if (!button->text().isEmpty())
                check(*button, button->sizeHint(), button->text());
        for (const QComboBox* list : shown<QComboBox>())
            check(*list, list->sizeHint(), list->currentText());
        for (const QScrollArea* area : shown<QScrollArea>())
            if (area->widget()->width() > area->viewport()->width())
                cut.push_back("a page");
        const auto& titles = *window().findChild<QListWidget*>("titles");
        if (titles.sizeHintForColumn(0) > titles.viewport()->width())
            cut.push_back("the titles");
        return cut;
    }
    void press(std::uint8_t key, std::uint8_t with = 0) {
        if (with)
            neighbour.holdKey(with, true);
        neighbour.pressKey(key);
        if (with)
            neighbour.holdKey(with, false);
    }

    TestPlatform desk;
    XNeighbour neighbour{display};
    std::unique_ptr<Home> home;
};

// In each language

class HomeInLanguageTest : public HomeOnScreenTest, public testing::WithParamInterface<Language> {};

TEST_P(HomeInLanguageTest, NothingIsCutWhereTheWindowIsAsSmallAsItGets) {
    show(GetParam().key);
    window().resize(window().minimumSizeHint());
    settle();
    EXPECT_LE(window().width(), kRoom.width());
    EXPECT_LE(window().height(), kRoom.height());
    for (const std::string_view page : kPages) {
        showPage(page);
        EXPECT_THAT(cutTexts(), IsEmpty()) << page;
    }
}

TEST_P(HomeInLanguageTest, EverythingHasAText) {
    show(GetParam().key);
    for (const std::string_view page : kPages) {
        showPage(page);
        for (const QAbstractButton* button : shown<QAbstractButton>())
            EXPECT_TRUE(button->focusPolicy() == Qt::NoFocus || !button->text().isEmpty()) << nameOf(*button);
        for (const QComboBox* list : shown<QComboBox>())
            for (int i = 0; i < list->count(); ++i)
                EXPECT_FALSE(list->itemText(i).isEmpty()) << nameOf(*list);
    }
}

INSTANTIATE_TEST_SUITE_P(In, HomeInLanguageTest, testing::ValuesIn(applicationLanguages()), nameOfLanguage);

TEST_F(HomeOnScreenTest, ACutTextIsSeen) {
    show("German");
    auto& button = *window().findChild<QAbstractButton*>("calibrateByTouching");
    button.setMaximumWidth(button.sizeHint().width() / 2);
    settle();
    EXPECT_EQ(cutTexts().size(), 1U);
}

TEST_F(HomeOnScreenTest, TheStateHasTheWholeLine) {
    show("German");
    window().setState({.text = "Der Stift ist bereit und wartet"});
    settle();
    const auto& text = *window().findChild<QLabel*>("stateText");
    EXPECT_LT(text.heightForWidth(text.width()), 2 * text.fontMetrics().height());
}

// The keyboard

TEST_F(HomeOnScreenTest, TheTabulatorReachesWhateverCanBeDone) {
    show("English");
    for (const std::string_view page : kPages) {
        showPage(page);
        std::set<const QWidget*> wanted, reached;
        for (const QWidget* each : shown<QWidget>())
            if (each->isEnabled() &&
                (dynamic_cast<const QAbstractButton*>(each) || dynamic_cast<const QComboBox*>(each)) &&
                each->focusPolicy() & Qt::TabFocus)
                wanted.insert(each);
        ASSERT_FALSE(wanted.empty()) << page;
        for (std::size_t i = 0; i < 3 * (wanted.size() + 6); ++i) {
            const QWidget* before = QApplication::focusWidget();
            press(XNeighbour::kTab);
            ASSERT_TRUE(comesTrue([&] { return QApplication::focusWidget() != before; }));
            reached.insert(QApplication::focusWidget());
        }
        for (const QWidget* each : wanted)
            EXPECT_TRUE(reached.contains(each)) << page << ": " << nameOf(*each);
    }
}

// As one reads: to the right in a line, and down.
TEST_F(HomeOnScreenTest, TheTabulatorGoesThroughAPageAsOneReads) {
    show("English");
    for (const std::string_view page : kPages) {
        showPage(page);
        const QWidget* last = nullptr;
        for (const QWidget* each = window().nextInFocusChain(); each != &window();
             each = each->nextInFocusChain()) {
            if (!each->isVisible() || !each->isEnabled() || !(each->focusPolicy() & Qt::TabFocus))
                continue;
            const QRect place(each->mapTo(&window(), QPoint()), each->size());
            const QRect before(last ? last->mapTo(&window(), QPoint()) : QPoint(),
                               last ? last->size() : QSize());
            EXPECT_TRUE(place.top() > before.bottom() ||
                        (place.left() > before.right() && place.bottom() >= before.top()))
                << page << ": " << nameOf(*each) << " comes behind " << nameOf(last ? *last : window());
            last = each;
        }
        EXPECT_NE(last, nullptr) << page;
    }
}

TEST_F(HomeOnScreenTest, KeysTurnThePagesAndCloseTheWindow) {
    show("English");
    const auto& titles = *window().findChild<QListWidget*>("titles");
    EXPECT_EQ(QApplication::focusWidget(), &titles);
    press(kPageDown, kControl);
    EXPECT_TRUE(comesTrue([&] { return titles.currentRow() == 1; }));
    press(kPageUp, kControl);
    EXPECT_TRUE(comesTrue([&] { return titles.currentRow() == 0; }));
    press(XNeighbour::kEscape);
    EXPECT_TRUE(comesTrue([&] { return !window().isVisible(); }));
}

TEST_F(HomeOnScreenTest, WhatHasTheKeyboardIsScrolledIntoSight) {
    show("English");
    window().resize(window().minimumSizeHint());
    showPage(Home::kSettingsPage);
    auto& last = *window().findChild<QComboBox*>("logChoice");
    last.setFocus(Qt::TabFocusReason);
    settle();
    EXPECT_FALSE(last.visibleRegion().isEmpty());
}

// A screen reader

// What it would say of everything that the keyboard reaches.
void readOut(QAccessibleInterface& place, std::vector<std::string>& nameless,
             std::multiset<QAccessible::Role>& roles) {
    const QAccessible::State state = place.state();
    if (state.invisible)
        return;
    if (state.focusable) {
        roles.insert(place.role());
        if (place.text(QAccessible::Name).isEmpty() && place.role() != QAccessible::Window)
            nameless.push_back(std::to_string(place.role()) + " " +
                               (place.object() ? place.object()->objectName().toStdString() : ""));
    }
    for (int i = 0; i < place.childCount(); ++i)
        if (QAccessibleInterface* child = place.child(i))
            readOut(*child, nameless, roles);
}

TEST_F(HomeOnScreenTest, AScreenReaderNamesWhateverHasTheKeyboard) {
    show("German");
    const std::map<std::string_view, std::vector<QAccessible::Role>> expected{
        {Home::kCalibrationPage, {QAccessible::List, QAccessible::Button}},
        {Home::kPenTrialPage, {QAccessible::List, QAccessible::Button}},
        {Home::kUnitPage, {QAccessible::List, QAccessible::Button}},
        {Home::kSettingsPage, {QAccessible::List, QAccessible::ComboBox, QAccessible::CheckBox}},
        {Home::kHelpPage, {QAccessible::List, QAccessible::Button}}};
    for (const auto& [page, wanted] : expected) {
        showPage(page);
        std::vector<std::string> nameless;
        std::multiset<QAccessible::Role> roles;
        readOut(*QAccessible::queryAccessibleInterface(&window()), nameless, roles);
        EXPECT_THAT(nameless, IsEmpty()) << page;
        for (const QAccessible::Role role : wanted)
            EXPECT_TRUE(roles.contains(role)) << page << " has no " << role;
    }
    const auto name = [&](const char* widget) {
        return QAccessible::queryAccessibleInterface(window().findChild<QWidget*>(widget))
            ->text(QAccessible::Name)
            .toStdString();
    };
    // What a list has chosen is its name; what stands beside it is told as its label.
    const auto labels =
        QAccessible::queryAccessibleInterface(window().findChild<QWidget*>("screenChoice"))->relations();
    ASSERT_EQ(labels.size(), 1);
    EXPECT_EQ(labels.front().first->text(QAccessible::Name), "Bildschirm mit dem Bild");
    EXPECT_EQ(name("openHelp"), "Hilfe öffnen");
    EXPECT_EQ(name("titles"), "LightPenNX7");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(window().findChild<QWidget*>("undoCalibration"))
                  ->text(QAccessible::Description),
              "Dann gilt wieder die Kalibrierung davor.");
}

// Light and dark

class HomeOnGroundTest : public HomeOnScreenTest, public testing::WithParamInterface<bool> {
protected:
    // Where somebody wants pictures: the window as it is.
    void takePicture(const std::string& name) {
        const char* folder = std::getenv("LIGHTPEN_HOME_PICTURES"); // NOLINT(concurrency-mt-unsafe)
        if (!folder)
            return;
        EXPECT_TRUE(window().grab().save(
            QString::fromStdString(folder + ("/home-" + name) + (GetParam() ? "-dark" : "") + ".png")));
    }
};

TEST_P(HomeOnGroundTest, EverythingIsLegible) {
    QApplication::setPalette(GetParam() ? darkPalette() : QPalette());
    for (const char* language : {"English", "German", "Japanese"}) {
        show(language);
        for (const std::string_view page : kPages) {
            showPage(page);
            takePicture(language + ("-" + std::string(page)));
            for (const QWidget* each : shown<QWidget>())
                EXPECT_TRUE(!each->isEnabled() ||
                            contrast(each->palette().color(each->foregroundRole()),
                                     each->palette().color(each->backgroundRole())) >= 4.5)
                    << nameOf(*each);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Light, HomeOnGroundTest, testing::Values(false));
INSTANTIATE_TEST_SUITE_P(Dark, HomeOnGroundTest, testing::Values(true));

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    const char* factor = std::getenv("QT_SCALE_FACTOR"); // NOLINT(concurrency-mt-unsafe): no threads yet
    lightpen::scale = factor ? std::atoi(factor) : 1;    // NOLINT(cert-err34-c): a test's own number
    const lightpen::Xvfb server(std::to_string(1024 * lightpen::scale) + 'x' +
                                std::to_string(768 * lightpen::scale));
    lightpen::display = server.display();
    const lightpen::WindowManager manager(server.display());
    return lightpen::runTests<QApplication>(argc, argv, lightpen::NoBus(), server);
}
