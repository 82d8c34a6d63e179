// SPDX-License-Identifier: MIT
// The application's window as a screen reader has it: over the desktop's accessibility bus, from outside.
#include <algorithm>
#include <cctype>
#include <iterator>

#include <QDBusConnection>
#include <QDBusMessage>

#include "kit/linux/XNeighbour.h"
#include "on_screen/ApplicationTest.h"
#include "on_screen/ScreenReader.h"

namespace lightpen {
namespace {

using testing::Contains;
using testing::IsSupersetOf;

constexpr std::uint8_t kControl = 37, kPageDown = 117; // the server's own numbers

// What is said of it: the role, and the name of what labels it or its own.
std::string spoken(const Told& told) {
    return told.role + " \"" + (told.label.empty() ? told.name : told.label) + "\"";
}

class ScreenReaderTest : public ApplicationTest {
protected:
    // Whether the window comes, asked for as by a second start.
    testing::AssertionResult opensTheWindow() {
        auto call = QDBusMessage::createMethodCall("org.lightpen.LightPenNX7-emulated",
                                                   "/org/lightpen/LightPenNX7_emulated",
                                                   "org.freedesktop.Application", "Activate");
        call << QVariantMap();
        const bool read = comesTrue([&] {
            return QDBusConnection::sessionBus().call(call).type() == QDBusMessage::ReplyMessage &&
                   !window().empty();
        });
        return read ? testing::AssertionSuccess() : testing::AssertionFailure() << user.program.log();
    }
    std::vector<Told> window() const { return reader.read("LightPenNX7"); }
    static std::vector<std::string> words(const std::vector<Told>& all) {
        std::vector<std::string> words;
        std::ranges::transform(all, std::back_inserter(words), spoken);
        return words;
    }
    void turnThePage() {
        neighbour.holdKey(kControl, true);
        neighbour.pressKey(kPageDown);
        neighbour.holdKey(kControl, false);
    }

    const ScreenReader reader;
    XNeighbour neighbour{applicationStage->server.display()};
};

// The first of each page is what only that one has.
const std::vector<std::vector<std::string>> kPages{
    {"button \"Calibrate by touching\"", "button \"Calibrate automatically\"",
     "button \"Undo the last calibration\""},
    {"button \"Measure with nine crosses\"", "button \"Clear the canvas\""},
    {"button \"Take a picture\""},
    {"combo box \"Screen with the picture\"", "button \"Identify\"", "combo box \"Projection Distance\"",
     "combo box \"Language\"", "check box \"Start at login\"",
     "check box \"The menu calibrates automatically\"",
     "check box \"Show the projection distance in the menu\"", "check box \"Show the languages in the menu\"",
     "check box \"Show the help in the menu\"", "check box \"Show the debug window\"",
     "combo box \"Way of the pointer\"", "combo box \"Log\""},
    {"button \"Open the help\"", "button \"Copy a report for help\""}};

// What the first is of each page that is read.
std::vector<std::string> pagesIn(const std::vector<Told>& all) {
    std::vector<std::string> pages;
    for (const auto& page : kPages)
        if (std::ranges::find(all, page.front(), spoken) != all.end())
            pages.push_back(page.front());
    return pages;
}

TEST_F(ScreenReaderTest, EveryPageSaysWhatIsOnItAndNothingIsUnnamed) {
    ASSERT_TRUE(comesWithUnit(user));
    ASSERT_TRUE(opensTheWindow());
    // Keys go to it once it has the keyboard.
    ASSERT_TRUE(comesTrue([&] {
        return std::ranges::any_of(
            window(), [](const Told& each) { return each.role == "list" && each.hasTheKeyboard; });
    }));
    for (const auto& page : kPages) {
        // A walk takes its time: while the page turns it may meet things of both.
        std::vector<Told> all;
        EXPECT_TRUE(comesTrue([&] {
            all = window();
            return pagesIn(all) == std::vector{page.front()};
        })) << page.front()
            << " is to be read, and of no other page anything: " << testing::PrintToString(words(all));
        EXPECT_THAT(words(all), IsSupersetOf(page));
        for (const char* title : {"Calibration", "Try the pen", "Camera picture", "Settings", "Help"})
            EXPECT_THAT(words(all), Contains("list item \"" + std::string(title) + "\""));
        for (const Told& each : all) {
            const bool isKnown = std::isalpha(static_cast<unsigned char>(each.role.front())) != 0;
            EXPECT_FALSE((isKnown || each.canHaveTheKeyboard) && each.name.empty() && each.label.empty())
                << page.front() << ": a " << each.role;
        }
        turnThePage();
    }
}

TEST_F(ScreenReaderTest, WhatHasTheKeyboardIsSaid) {
    ASSERT_TRUE(comesWithUnit(user));
    ASSERT_TRUE(opensTheWindow());
    // A list says of its entry, too, that it has the keyboard, for ever.
    const auto haveIt = [this] {
        std::vector<std::string> said;
        for (const Told& each : window())
            if (each.hasTheKeyboard && each.role != "list item")
                said.push_back(spoken(each) + each.description);
        return said;
    };
    const auto comesTo = [&](const std::string& wanted) {
        EXPECT_TRUE(comesTrue([&] { return haveIt() == std::vector{wanted}; }))
            << testing::PrintToString(haveIt()) << " instead of " << wanted;
    };
    comesTo("list \"LightPenNX7\"");
    neighbour.pressKey(XNeighbour::kTab);
    comesTo("button \"Calibrate by touching\"Touch the four targets with the pen, one after the other.");
    neighbour.pressKey(XNeighbour::kTab);
    comesTo("button \"Calibrate automatically\"The camera finds four targets by itself. Keep pen and hands "
            "out of "
            "the picture.");
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    // One with windows would be on the bus too, and would not answer itself.
    return lightpen::runOnApplicationStage<QCoreApplication>(argc, argv);
}
