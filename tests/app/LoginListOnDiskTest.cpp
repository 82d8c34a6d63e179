// SPDX-License-Identifier: MIT
// What launches leave in the autostart folder when the application's folder is real, and moves.
#include "app/LoginList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"
#include "linux_desktop/files/ApplicationBundle.h"
#include "linux_desktop/files/DesktopEntry.h"
#include "linux_desktop/files/XdgLoginItems.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Change = LoginListUpdate::Change;
namespace fs = std::filesystem;

constexpr const char* kPen = "org.example.pen";
constexpr const char* kFirst = "org.lightpen.LightPenNX7.desktop";
constexpr const char* kSecond = "org.lightpen.LightPenNX7-2.desktop";

class LoginListOnDiskTest : public testing::Test {
protected:
    // An application's folder.
    fs::path install(const std::string& name, const std::string& identifier = kPen) const {
        fs::path folder = directory.path() / name;
        fs::create_directories(folder);
        writeFile(folder / "LightPenNX7", "");
        writeFile(folder / "Info.plist",
                  "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" + identifier +
                      "</string></dict></plist>");
        return folder;
    }
    fs::path rename(const fs::path& folder, const std::string& name) const {
        fs::path target = directory.path() / name;
        fs::create_directories(target.parent_path());
        fs::rename(folder, target);
        return target;
    }
    // What the application in this folder does to the list when it starts.
    Change launch(const fs::path& folder, bool wanted) const {
        const ApplicationBundle bundle(folder, [] { return std::vector<std::string>(); });
        XdgLoginItems items(autostart);
        LoginListUpdate update = updatedLoginList(items.copyValue(), wanted, bundle);
        items.setValue(std::move(update.list));
        EXPECT_TRUE(items.synchronize());
        return update.change;
    }
    std::vector<LoginItem> list() const {
        return XdgLoginItems(autostart).copyValue().value_or(std::vector<LoginItem>());
    }
    static LoginItem entry(const fs::path& folder, bool hide = false, const char* origin = kFirst) {
        return {folder / "LightPenNX7", hide, origin, kPen};
    }
    // The user wants it to start hidden.
    void hide() const {
        const std::string file = autostart + '/' + kFirst;
        std::string text = readFile(file);
        const std::string_view shown = "Hide=false";
        text.replace(text.find(shown), shown.size(), "Hide=true");
        writeFile(file, text);
    }

    const TemporaryDirectory directory;
    const std::string autostart = directory.file("config/autostart");
    RecordingLog log;
};

TEST_F(LoginListOnDiskTest, AFolderOfAnyNameHasOneEntry) {
    const fs::path folder = install("größer");
    EXPECT_EQ(launch(folder, true), Change::added);
    EXPECT_EQ(launch(folder, true), Change::updated);
    EXPECT_THAT(list(), ElementsAre(entry(folder)));
    EXPECT_EQ(launch(folder, false), Change::removed);
    EXPECT_THAT(list(), IsEmpty());
    EXPECT_EQ(launch(folder, false), Change::none);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(LoginListOnDiskTest, AnApplicationThatMovesTakesItsEntryAlong) {
    fs::path folder = install("opt/LightPenNX7");
    launch(folder, true);
    hide();
    for (const char* place : {"home/größer", "home/LightPenNX7", "opt/Light Pen"}) {
        folder = rename(folder, place);
        EXPECT_EQ(launch(folder, true), Change::updated);
        EXPECT_THAT(list(), ElementsAre(entry(folder, true)));
        const auto read = DesktopEntry::parse(readFile(autostart + '/' + kFirst));
        ASSERT_TRUE(read);
        EXPECT_EQ(read->value("Exec"), commandLineOf((folder / "LightPenNX7").string()))
            << "at the next login";
    }
}

TEST_F(LoginListOnDiskTest, AnEntryWhosePlaceAnotherApplicationHasTakenIsNotTouched) {
    const fs::path pen = install("LightPenNX7");
    launch(pen, true);
    const fs::path moved = rename(pen, "moved");
    install("LightPenNX7", "org.example.ink");
    EXPECT_EQ(launch(moved, false), Change::none);
    EXPECT_EQ(launch(moved, true), Change::added);
    EXPECT_THAT(list(), ElementsAre(entry(pen), entry(moved, false, kSecond)));
}

TEST_F(LoginListOnDiskTest, AUsersOwnEntryForTheProgramStaysAsItIs) {
    const fs::path folder = install("LightPenNX7");
    fs::create_directories(autostart);
    const std::string byHand = "[Desktop Entry]\nExec=" + (folder / "LightPenNX7").string() + "\n";
    writeFile(autostart + "/mine.desktop", byHand);
    EXPECT_EQ(launch(folder, true), Change::added);
    EXPECT_EQ(launch(folder, false), Change::removed);
    EXPECT_EQ(readFile(autostart + "/mine.desktop"), byHand);
    EXPECT_FALSE(fs::exists(autostart + '/' + kFirst));
}

} // namespace
} // namespace lightpen
