// SPDX-License-Identifier: MIT
// The application as its user has it: from the panel, with everything else on the screen and on the disk.
#include <QClipboard>
#include <QGuiApplication>

#include "kit/linux/XNeighbour.h"
#include "on_screen/ApplicationTest.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ApplicationMenuTest : public ApplicationTest {
protected:
    // The exposure that the driver held when the unit came, as the application said.
    static int exposureOf(const ApplicationDesk& desk) {
        constexpr std::string_view kWords = "value deviceDidAddCallback: ";
        const auto at = desk.program.log().rfind(kWords);
        return at == std::string::npos ? -1 : std::stoi(desk.program.log().substr(at + kWords.size()));
    }
};

TEST_F(ApplicationMenuTest, OnlyExitWithoutAUnitAndEverythingWithOne) {
    ASSERT_TRUE(comes(user));
    EXPECT_TRUE(user.showsMenu({"Exit"}));
    ASSERT_TRUE(user.program.perform("plug"));
    EXPECT_TRUE(user.showsMenu(fullMenu("English")));
    EXPECT_TRUE(allUsable(user.menu->layout().value()));
    ASSERT_TRUE(user.program.perform("unplug"));
    EXPECT_TRUE(user.showsMenu({"Exit"}));
    EXPECT_THAT(watcher.items(), SizeIs(1));
    EXPECT_THAT(user.opened(), IsEmpty());
}

TEST_F(ApplicationMenuTest, TwoQuickReplugs) {
    ASSERT_TRUE(comesWithUnit(user));
    ASSERT_TRUE(user.performs({"unplug", "plug", "unplug", "plug"}));
    EXPECT_TRUE(comesTrue([&] { return user.program.isIn("connected=yes"); }));
    EXPECT_TRUE(user.showsMenu(fullMenu("English")));
    EXPECT_THAT(watcher.items(), SizeIs(1));
}

TEST_F(ApplicationMenuTest, AUnitThatComesWhileTheMenuIsOpenAndTheExitBehindIt) {
    ASSERT_TRUE(comes(user));
    ASSERT_TRUE(user.showsMenu({"Exit"}));
    EXPECT_TRUE(user.menu->open());
    ASSERT_TRUE(user.performs({"plug"}));
    EXPECT_TRUE(user.showsMenu(fullMenu("English")));
    EXPECT_TRUE(user.menu->close());
    EXPECT_EQ(user.exitBy("Exit"), 0);
    EXPECT_TRUE(comesTrue([&] { return watcher.items().empty(); }));
}

// The other entries

TEST_F(ApplicationMenuTest, ADistanceIsStored) {
    ASSERT_TRUE(comesWithUnit(user, {"--plugged", "--calibrated"}));
    ASSERT_TRUE(user.program.waitForLog("value deviceDidAddCallback: "));
    const auto flash = user.program.ask("flash");
    const std::map<std::string, std::string> tags{{"Distance1", "2"}, {"Distance2", "1"}, {"Distance3", "0"}};
    for (const auto& [name, tag] : tags) {
        const auto before = user.program.log().size();
        EXPECT_TRUE(user.clickStores({"Projection Distance", name}, "Projection Distance", tag));
        EXPECT_TRUE(user.program.waitForLog("Light n:737 distance : ", before));
    }
    EXPECT_EQ(user.program.ask("flash"), flash) << "the calibration is still the same";
}

// A copy of the application in that folder, with the exposure as the first and the last threshold of the
// dictionary beside it; returns the program.
std::string copyWithThresholds(const TemporaryDirectory& folder, int exposure) {
    const std::filesystem::path original(LIGHTPEN_EMULATED);
    std::filesystem::copy(original.parent_path(), folder.path(),
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
    std::string dictionary = readFile(folder.file("Info.plist"));
    const std::string key = "<key>Threshold Values</key>";
    const auto start = dictionary.find(key);
    EXPECT_NE(start, std::string::npos);
    const std::string number = "<integer>" + std::to_string(exposure) + "</integer>";
    dictionary.replace(start, dictionary.find("</array>", start) - start,
                       key + "<array>" + number + "<integer>7</integer>" + number);
    writeFile(folder.file("Info.plist"), dictionary);
    return folder.file(original.filename().string());
}

TEST_F(ApplicationMenuTest, ADistanceIsMarkedWhoseThresholdIsTheExposure) {
    ASSERT_TRUE(comesWithUnit(user));
    ASSERT_TRUE(user.program.waitForLog("value deviceDidAddCallback: "));
    const int exposure = exposureOf(user);
    ASSERT_GT(exposure, 0);

    const TemporaryDirectory folder;
    ApplicationDesk other(copyWithThresholds(folder, exposure));
    ASSERT_TRUE(comesWithUnit(other));
    const auto checked = [&] { return checkedBelow(other.menu->layout().value(), "Projection Distance"); };
    EXPECT_TRUE(comesTrue([&] { return !checked().empty(); }));
    EXPECT_THAT(checked(), ElementsAre("Distance3", "Distance1"));
    ASSERT_TRUE(other.clickStores({"Projection Distance", "Distance2"}, "Projection Distance", "1"));
    EXPECT_THAT(checked(), ElementsAre("Distance3", "Distance1")) << "the mark is the exposure's";
}

struct HelpChoice {
    const char* language;
    const char* identifier;
    const char* document;
};
// The menu stays as it is until it is made again; the help is that of the choice.
constexpr HelpChoice kHelp[] = {{"Traditional Chinese", "zh-Hant", "cht.htm"},
                                {"Simplified Chinese", "zh-Hans", "chs.htm"},
                                {"Japanese", "ja", "jpn.htm"},
                                {"Italian", "it", "ita.htm"},
                                {"Spanish", "es", "esp.htm"},
                                {"French", "fr", "fra.htm"},
                                {"German", "de", "enu.htm"},
                                {"Korean", "ko", "enu.htm"}};

TEST_F(ApplicationMenuTest, HelpOpensTheDocumentOfTheStoredLanguage) {
    ASSERT_TRUE(comesWithUnit(user));
    const std::filesystem::path resources =
        std::filesystem::path(LIGHTPEN_EMULATED).parent_path() / "resources";
    std::string expected;
    const auto expectHelp = [&](const std::string& document) {
        EXPECT_TRUE(user.menu->click(Labels{"Help"}));
        expected += "file://" + (resources / document).string() + "\n";
        EXPECT_TRUE(comesTrue([&] { return user.opened().size() >= expected.size(); }));
        EXPECT_TRUE(std::filesystem::exists(resources / document));
    };
    expectHelp("enu.htm");
    for (const HelpChoice& choice : kHelp) {
        ASSERT_TRUE(user.clickStores({"Language", choice.language}, "Language", choice.identifier));
        expectHelp(choice.document);
    }
    EXPECT_EQ(user.opened(), expected);
}

// Clicks from the panel's upper edge down to its button until there is text to be copied, and copies it;
// again and again, because the program may be slow to take it.
std::string copiedFrom(const ShownWindow& window) {
    constexpr std::uint8_t kControl = 37, kA = 38, kC = 54;
    constexpr int kStep = 6, kButton = 56;
    constexpr std::chrono::milliseconds kSoon{200};
    XNeighbour hand(applicationStage->server.display());
    QClipboard& clipboard = *QGuiApplication::clipboard();
    clipboard.setText(QString());
    const auto copied = [&] { return !clipboard.text().isEmpty(); };
    const auto tryAt = [&](int y) {
        hand.movePointer(static_cast<std::int16_t>(window.x + window.width / 2),
                         static_cast<std::int16_t>(window.y + y));
        hand.click();
        hand.holdKey(kControl, true);
        hand.pressKey(kA);
        hand.pressKey(kC);
        hand.holdKey(kControl, false);
        return comesTrue(copied, kSoon);
    };
    comesTrue([&] {
        for (int y = kStep; y < window.height - kButton; y += kStep)
            if (tryAt(y))
                return true;
        return false;
    });
    return clipboard.text().toStdString();
}

TEST_F(ApplicationMenuTest, AboutTellsTheUnitsVersions) {
    ASSERT_TRUE(comes(user, {"--wireless", "0"}));
    ASSERT_TRUE(user.performs({"board 35", "cmos 249", "plug"})); // 0x23, 0xF9
    ASSERT_TRUE(user.showsMenu(fullMenu("English")));
    const auto about = [&] { return user.windowTitled("NX9 Driver"); };
    const auto aboutText = [&]() -> std::string {
        user.menu->click(Labels{"About..."});
        const bool came =
            comesTrue([&] { return about() && user.screen.focused(user.program.processId()) == about(); });
        return came ? copiedFrom(*about()) : "the panel did not come";
    };
    EXPECT_FALSE(about());
    EXPECT_EQ(aboutText(), "Dongle version 2.3\n\n  CMOS version 15.9\n");
    const auto panel = about();
    ASSERT_TRUE(panel);
    user.screen.close(*panel);
    EXPECT_TRUE(comesTrue([&] { return !about(); }));

    // The next unit is another one.
    ASSERT_TRUE(user.performs({"unplug", "wireless 1"}));
    ASSERT_TRUE(user.showsMenu({"Exit"})) << "the menu of the unit before must not be taken for its own";
    ASSERT_TRUE(user.performs({"plug"}));
    ASSERT_TRUE(user.showsMenu(fullMenu("English")));
    EXPECT_EQ(aboutText(), "Main Board version 2.3\n");
}

// The panel

TEST_F(ApplicationMenuTest, ThePanelComesAfterTheProgram) {
    ASSERT_TRUE(user.start({"--plugged"}));
    ASSERT_TRUE(user.program.waitForLog("Light n:794"));
    EXPECT_TRUE(user.itemComes(panel()));
    EXPECT_TRUE(user.showsMenu(fullMenu("English")));
}

TEST_F(ApplicationMenuTest, ThePanelIsRestarted) {
    ASSERT_TRUE(comesWithUnit(user));
    watcher.disappear();
    ASSERT_TRUE(user.program.perform("unplug"));
    watcher.appear();
    ASSERT_TRUE(user.itemComes(watcher));
    EXPECT_TRUE(user.showsMenu({"Exit"}));
    EXPECT_EQ(user.exitBy("Exit"), 0);
}

} // namespace
} // namespace lightpen

int main(int argc, char** argv) {
    return lightpen::runOnApplicationStage(argc, argv);
}
