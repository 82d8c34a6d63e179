// SPDX-License-Identifier: MIT
#include "linux_desktop/files/XdgLoginItems.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <map>

#include "kit/OrdinaryUser.h"
#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kOwn = "org.lightpen.LightPenNX7.desktop";
constexpr const char* kOther =
    "[Desktop Entry]\nType=Application\nName=Other\nExec=\"/opt/a b/other\" --start %U\n";

std::string own(const std::string& path, int order, const std::string& more = "") {
    return "[Desktop Entry]\nType=Application\nName=LightPenNX7\nTryExec=" + path + "\nExec=" + path + "\n" +
           more + "X-LightPenNX7-Path=" + path +
           "\nX-LightPenNX7-Hide=false\nX-LightPenNX7-Order=" + std::to_string(order) + "\n";
}

class XdgLoginItemsTest : public testing::Test {
protected:
    void put(const std::string& name, const std::string& text) {
        std::filesystem::create_directories(folder);
        writeFile(folder + '/' + name, text);
    }
    std::string text(const std::string& name) const { return readFile(folder + '/' + name); }
    // Every file with its bytes and the moment of its last change.
    using Contents = std::map<std::string, std::pair<std::string, std::filesystem::file_time_type>>;
    Contents contents() const {
        Contents result;
        for (const auto& file : std::filesystem::directory_iterator(folder))
            result[file.path().filename()] = {readFile(file.path()), file.last_write_time()};
        return result;
    }
    // The list as a program sees it that starts now.
    std::vector<LoginItem> list() const {
        return XdgLoginItems(folder, systemFolders).copyValue().value_or(std::vector<LoginItem>());
    }
    // What a package brings.
    void putSystem(const std::string& name, const std::string& text) {
        std::filesystem::create_directories(systemFolders.at(1));
        writeFile(systemFolders.at(1) + '/' + name, text);
    }
    // What a launch does: it reads the list, changes it and writes it back.
    template <class Change>
    bool launch(Change change) {
        XdgLoginItems items(folder, systemFolders);
        auto present = items.copyValue().value_or(std::vector<LoginItem>());
        change(present);
        items.setValue(present);
        return items.synchronize();
    }
    bool add(const std::string& path, bool hide = false) {
        return launch([&](std::vector<LoginItem>& items) { items.push_back({path, hide, {}}); });
    }
    // Gives the first item a path and puts it at the end.
    bool refresh(const std::string& path) {
        return launch([&](std::vector<LoginItem>& items) {
            items.at(0).path = path;
            std::rotate(items.begin(), items.begin() + 1, items.end());
        });
    }

    const TemporaryDirectory directory;
    const std::string folder = directory.file("config/autostart");
    const std::vector<std::string> systemFolders{directory.file("nothing"), directory.file("system")};
    RecordingLog log;
};

TEST_F(XdgLoginItemsTest, HasNoListAtFirst) {
    XdgLoginItems items(folder);
    EXPECT_EQ(XdgLoginItems(folder).copyValue(), std::nullopt);
    EXPECT_TRUE(items.synchronize());
    items.setValue({});
    EXPECT_TRUE(items.synchronize());
    EXPECT_FALSE(std::filesystem::exists(directory.file("config")));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(XdgLoginItemsTest, ANewItemIsAnEntryThatStartsIt) {
    const LoginItem item{"/opt/Light Pen/LightPenNX7", false, {}, "org.example.pen"};
    ASSERT_TRUE(launch([&](std::vector<LoginItem>& items) { items.push_back(item); }));
    EXPECT_EQ(text(kOwn), "[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=LightPenNX7\n"
                          "Icon=org.lightpen.LightPenNX7\n"
                          "Terminal=false\n"
                          "X-GNOME-Autostart-enabled=true\n"
                          "X-KDE-autostart-after=panel\n"
                          "X-LXQt-Need-Tray=true\n"
                          "X-LightPenNX7-Path=/opt/Light Pen/LightPenNX7\n"
                          "TryExec=/opt/Light Pen/LightPenNX7\n"
                          "Exec=\"/opt/Light Pen/LightPenNX7\"\n"
                          "X-LightPenNX7-Hide=false\n"
                          "X-LightPenNX7-Identifier=org.example.pen\n"
                          "X-LightPenNX7-Order=1\n");
    EXPECT_THAT(list(), ElementsAre(LoginItem{"/opt/Light Pen/LightPenNX7", false, kOwn, "org.example.pen"}));
    EXPECT_THAT(contents(), SizeIs(1));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(XdgLoginItemsTest, NothingIsStoredBeforeItIsSynchronized) {
    {
        XdgLoginItems items(folder);
        items.setValue({{"/opt/LightPenNX7", false, {}}});
    }
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(XdgLoginItemsTest, KeepsWhetherAnItemStartsHidden) {
    ASSERT_TRUE(add("/opt/LightPenNX7", true));
    ASSERT_TRUE(refresh("/home/pen/LightPenNX7"));
    EXPECT_THAT(list(), ElementsAre(LoginItem{"/home/pen/LightPenNX7", true, kOwn}));
    ASSERT_TRUE(launch([](std::vector<LoginItem>& items) { items[0].hide = false; }));
    EXPECT_THAT(list(), ElementsAre(LoginItem{"/home/pen/LightPenNX7", false, kOwn}));
}

TEST_F(XdgLoginItemsTest, RemembersWhomAnItemWasMadeFor) {
    put(kOwn, own("/old", 1));
    const auto becomes = [&](const std::optional<std::string>& identifier) {
        EXPECT_TRUE(launch([&](std::vector<LoginItem>& items) { items.at(0).identifier = identifier; }));
        return list().at(0).identifier == identifier;
    };
    EXPECT_EQ(list().at(0).identifier, std::nullopt);
    EXPECT_TRUE(becomes("org.example.pen"));
    EXPECT_EQ(text(kOwn), own("/old", 1) + "X-LightPenNX7-Identifier=org.example.pen\n");
    EXPECT_TRUE(becomes("org.example.\"ink\""));
    EXPECT_TRUE(becomes(std::nullopt));
    put(kOwn, own("/old", 1, "X-LightPenNX7-Identifier=\n"));
    EXPECT_EQ(list().at(0).identifier, std::nullopt);
}

TEST_F(XdgLoginItemsTest, ANewPathKeepsEveryOtherKey) {
    const std::string keys = "Hidden=true\nComment=\\sStift \\q\nX-Delay=5\n";
    put(kOwn, "# mine\n" + own("/old", 4, keys) + "\n[Desktop Action New]\nExec=/old\n");
    ASSERT_TRUE(refresh("/new"));
    EXPECT_EQ(text(kOwn), own("/new", 4, keys));
}

TEST_F(XdgLoginItemsTest, AUsersOwnCommandLineStaysForAsLongAsThePathDoes) {
    const std::string mine = own("/opt/LightPenNX7", 1, "Exec=second\n") + "X-LightPenNX7-Hide=true\n";
    put(kOwn,
        "[Desktop Entry]\nExec=env QT_SCALE_FACTOR=2 /opt/LightPenNX7\n" + mine.substr(mine.find('\n') + 1));
    put("other.desktop", kOther);
    const auto before = contents();
    ASSERT_TRUE(refresh("/opt/LightPenNX7"));
    ASSERT_TRUE(launch([](std::vector<LoginItem>&) {}));
    EXPECT_EQ(contents(), before);
}

TEST_F(XdgLoginItemsTest, OtherApplicationsAreNeitherListedNorTouched) {
    put("a.desktop", "[Desktop Entry]\r\n Exec = a-tool\r\n\r\n# odd\r\nX-LightPenNX7-Order=3\r\n");
    put("b.desktop", kOther);
    put("damaged.desktop", "[Desktop Entry]\nX-LightPenNX7-Path=/opt/LightPenNX7\nno such line\n");
    put("latin.desktop", own("/opt/caf\xe9", 2));
    const auto before = contents();
    EXPECT_EQ(XdgLoginItems(folder).copyValue(), std::nullopt);
    // Not even when the list says so.
    ASSERT_TRUE(launch([](std::vector<LoginItem>& items) {
        items.push_back({"/elsewhere", true, "a.desktop", "org.example.pen"});
    }));
    EXPECT_EQ(contents(), before);
    ASSERT_TRUE(add("/opt/LightPenNX7"));
    auto after = contents();
    EXPECT_EQ(after.erase(kOwn), 1u);
    EXPECT_EQ(after, before);
}

TEST_F(XdgLoginItemsTest, TheOrderIsThatOfTheKeysThenOfTheNames) {
    put("1.desktop", own("/first", 12));
    put("2.desktop", own("/second", 3));
    put("3.desktop", own("/third", 3));
    put("5.desktop", own("/fifth", -1)); // no key at all
    put("6.desktop", own("/sixth", 2));
    std::vector<std::string> origins;
    for (const LoginItem& item : list())
        origins.push_back(item.origin);
    EXPECT_THAT(origins, ElementsAre("5.desktop", "6.desktop", "2.desktop", "3.desktop", "1.desktop"));
}

TEST_F(XdgLoginItemsTest, ARefreshMovesAnItemToTheEnd) {
    put("1.desktop", own("/first", 1));
    put("2.desktop", own("/second", 2));
    const std::string second = text("2.desktop");
    ASSERT_TRUE(refresh("/first"));
    EXPECT_THAT(list(), ElementsAre(LoginItem{"/second", false, "2.desktop"},
                                    LoginItem{"/first", false, "1.desktop"}));
    EXPECT_EQ(text("1.desktop"), own("/first", 3));
    EXPECT_EQ(text("2.desktop"), second);
    ASSERT_TRUE(add("/third"));
    EXPECT_THAT(text(kOwn), HasSubstr("X-LightPenNX7-Order=4\n"));
}

TEST_F(XdgLoginItemsTest, OrdersThatAreNoneAreMended) {
    for (const char* order : {"", "x", "-4", "0", "1000000001", "99999999999999999999", "1.5"}) {
        put(kOwn,
            "[Desktop Entry]\nX-LightPenNX7-Path=/pen\nX-LightPenNX7-Order=" + std::string(order) + "\n");
        ASSERT_TRUE(refresh("/pen"));
        EXPECT_EQ(text(kOwn), "[Desktop Entry]\nX-LightPenNX7-Path=/pen\nX-LightPenNX7-Order=1\n"
                              "X-LightPenNX7-Hide=false\n")
            << order;
    }
}

TEST_F(XdgLoginItemsTest, AnItemThatIsTakenOffIsRemoved) {
    put("1.desktop", own("/first", 1));
    put("2.desktop", own("/second", 2));
    put("z.desktop", kOther);
    auto expected = contents();
    expected.erase("1.desktop");
    ASSERT_TRUE(launch([](std::vector<LoginItem>& items) { items.erase(items.begin()); }));
    EXPECT_EQ(contents(), expected);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(XdgLoginItemsTest, TheNameOfAFileThatIsThereIsNotTaken) {
    put(kOwn, "of somebody else");
    ASSERT_TRUE(add("/opt/LightPenNX7"));
    EXPECT_EQ(text(kOwn), "of somebody else");
    EXPECT_THAT(list(),
                ElementsAre(LoginItem{"/opt/LightPenNX7", false, "org.lightpen.LightPenNX7-2.desktop"}));
}

TEST_F(XdgLoginItemsTest, WhereEveryNameIsTakenNothingIsStored) {
    put(kOwn, "");
    std::filesystem::create_symlink("nowhere", folder + "/org.lightpen.LightPenNX7-2.desktop");
    std::filesystem::create_directory(folder + "/org.lightpen.LightPenNX7-3.desktop");
    ASSERT_TRUE(add("/pen"));
    EXPECT_THAT(list(), ElementsAre(LoginItem{"/pen", false, "org.lightpen.LightPenNX7-4.desktop"}));
    for (int number = 5; number <= 100; ++number)
        put("org.lightpen.LightPenNX7-" + std::to_string(number) + ".desktop", "");
    EXPECT_FALSE(add("/another"));
    EXPECT_THAT(log.takeLines(), ElementsAre("Login items: no file name is left in " + folder));
}

TEST_F(XdgLoginItemsTest, WhatIsNoEntryIsPassedOver) {
    const std::string entry = own("/pen", 1);
    put("good.desktop", entry);
    put("text.txt", entry);
    put("good.desktop.Xq3aB1", entry); // what a crash may leave of a write
    put("empty.desktop", "");
    put("huge.desktop", entry + std::string(70'000, '#'));
    std::filesystem::create_directory(folder + "/folder.desktop");
    std::filesystem::create_symlink("nowhere", folder + "/dangling.desktop");
    ASSERT_EQ(mkfifo((folder + "/pipe.desktop").c_str(), 0600), 0);
    EXPECT_THAT(list(), ElementsAre(LoginItem{"/pen", false, "good.desktop"}));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(XdgLoginItemsTest, ALinkIsNobodysEntry) {
    std::filesystem::create_directories(folder);
    writeFile(directory.file("target"), own("/opt/LightPenNX7", 1));
    std::filesystem::create_symlink(directory.file("target"), folder + '/' + kOwn);
    EXPECT_THAT(list(), IsEmpty());
    ASSERT_TRUE(add("/new"));
    EXPECT_EQ(readFile(directory.file("target")), own("/opt/LightPenNX7", 1));
    EXPECT_TRUE(std::filesystem::is_symlink(folder + '/' + kOwn));
}

TEST_F(XdgLoginItemsTest, WhatSomebodyHasDoneMeanwhileStays) {
    put("1.desktop", own("/first", 1));
    put("2.desktop", own("/second", 2));
    put("3.desktop", own("/third", 3));
    XdgLoginItems items(folder);
    auto present = items.copyValue().value();
    std::filesystem::remove(folder + "/1.desktop");
    put("2.desktop", own("/second", 2, "Comment=new\n"));
    put("3.desktop", kOther);
    put("4.desktop", own("/fourth", 4));
    for (LoginItem& item : present)
        item.hide = true;
    items.setValue(present);
    ASSERT_TRUE(items.synchronize());
    EXPECT_FALSE(std::filesystem::exists(folder + "/1.desktop"));
    EXPECT_THAT(text("2.desktop"), testing::AllOf(HasSubstr("Comment=new\n"), HasSubstr("Hide=true\n")));
    EXPECT_EQ(text("3.desktop"), kOther);
    EXPECT_EQ(text("4.desktop"), own("/fourth", 4)); // it was not on the list that was changed
}

TEST_F(XdgLoginItemsTest, OneItemTwiceIsStoredOnce) {
    put(kOwn, own("/pen", 1));
    ASSERT_TRUE(launch([](std::vector<LoginItem>& items) {
        items.push_back(items[0]);
        items[1].path = "/other";
    }));
    EXPECT_EQ(text(kOwn), own("/pen", 1));
}

TEST_F(XdgLoginItemsTest, AFolderThatMayNotBeReadLosesNothing) {
    if (!ordinaryUserMayEnter(directory.path().parent_path()))
        GTEST_SKIP() << "no ordinary user can go into the folder for temporary files";
    put(kOwn, own("/pen", 1));
    for (auto above = std::filesystem::path(folder).parent_path(); above != directory.path().parent_path();
         above = above.parent_path())
        ASSERT_EQ(chmod(above.c_str(), 0755), 0);
    // The one keeps the list of names back, the other what the names stand for.
    for (const mode_t mode : {0311, 0344}) {
        ASSERT_EQ(chmod(folder.c_str(), mode), 0);
        const OrdinaryUser ordinary;
        EXPECT_EQ(XdgLoginItems(folder).copyValue(), std::nullopt);
        EXPECT_FALSE(add("/opt/LightPenNX7"));
    }
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    EXPECT_THAT(log.takeLines(), SizeIs(2));
    EXPECT_EQ(text(kOwn), own("/pen", 1));
}

TEST_F(XdgLoginItemsTest, AFolderThatCannotBeMadeLosesNothing) {
    writeFile(directory.file("config"), "a file where a folder is needed");
    EXPECT_FALSE(add("/opt/LightPenNX7"));
    EXPECT_THAT(log.takeLines(), ElementsAre("Login items: " + folder + " cannot be read: Not a directory"));
    EXPECT_EQ(readFile(directory.file("config")), "a file where a folder is needed");
}

TEST_F(XdgLoginItemsTest, AnEntryThatCannotBeReplacedLosesNothing) {
    // Where not even root may write: the name of the temporary file would be too long.
    const std::string name = std::string(245, 'n') + ".desktop";
    put(name, own("/old", 1));
    put("z.desktop", own("/zed", 2));
    const auto before = contents();
    EXPECT_FALSE(launch([](std::vector<LoginItem>& items) {
        items[0].path = "/new";
        items.pop_back(); // nor is anything removed then
    }));
    EXPECT_EQ(contents(), before);
    EXPECT_THAT(log.takeLines(),
                ElementsAre(StartsWith("Files: " + folder + '/' + name + " cannot be written: ")));
}

TEST_F(XdgLoginItemsTest, TheSystemsEntryIsAnItemThatNeedsNoFileOfTheUsers) {
    putSystem(kOwn, own("/usr/LightPenNX7", 1));
    putSystem("other.desktop", kOther);
    EXPECT_THAT(list(), ElementsAre(LoginItem{"/usr/LightPenNX7", false, kOwn}));
    ASSERT_TRUE(refresh("/usr/LightPenNX7"));
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(XdgLoginItemsTest, AUsersFileGoesBeforeTheSystemsOfItsName) {
    putSystem(kOwn, own("/usr/LightPenNX7", 1));
    ASSERT_TRUE(refresh("/home/pen/LightPenNX7"));
    EXPECT_EQ(text(kOwn), own("/home/pen/LightPenNX7", 1));
    EXPECT_THAT(list(), ElementsAre(LoginItem{"/home/pen/LightPenNX7", false, kOwn}));
    // Whatever is in it: that is how desktops take it.
    put(kOwn, kOther);
    EXPECT_THAT(list(), IsEmpty());
}

TEST_F(XdgLoginItemsTest, TheFirstFolderOfTheSystemGoesBeforeTheOthers) {
    putSystem(kOwn, own("/usr/LightPenNX7", 1));
    std::filesystem::create_directories(systemFolders[0]);
    writeFile(systemFolders[0] + '/' + kOwn, own("/site/LightPenNX7", 1));
    EXPECT_THAT(list(), ElementsAre(LoginItem{"/site/LightPenNX7", false, kOwn}));
}

TEST_F(XdgLoginItemsTest, AnItemOfTheSystemsThatIsTakenOffIsHidden) {
    putSystem(kOwn, own("/usr/LightPenNX7", 1));
    const auto takeOff = [this] { return launch([](std::vector<LoginItem>& items) { items.clear(); }); };
    ASSERT_TRUE(takeOff());
    EXPECT_THAT(text(kOwn), HasSubstr("\nHidden=true\n"));
    EXPECT_THAT(list(), IsEmpty());
    const auto hidden = contents();
    ASSERT_TRUE(takeOff());
    EXPECT_EQ(contents(), hidden);
    // One that is wanted again takes the same place, and is no longer hidden.
    ASSERT_TRUE(add("/usr/LightPenNX7"));
    EXPECT_THAT(list(), ElementsAre(LoginItem{"/usr/LightPenNX7", false, kOwn}));
    EXPECT_THAT(text(kOwn), testing::Not(HasSubstr("Hidden")));
    EXPECT_THAT(contents(), SizeIs(1));
    ASSERT_TRUE(takeOff());
    EXPECT_EQ(text(kOwn), hidden.at(kOwn).first);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(XdgLoginItemsTest, APathThatNoEntryCanHoldIsSaid) {
    EXPECT_FALSE(add("/caf\xe9/LightPenNX7"));
    EXPECT_THAT(log.takeLines(), SizeIs(1));
    EXPECT_FALSE(add(""));
    EXPECT_THAT(log.takeLines(), ElementsAre("Login items: no entry can hold the path \"\""));
    EXPECT_FALSE(std::filesystem::exists(folder));

    put(kOwn, own("/old", 1));
    const auto before = contents();
    EXPECT_FALSE(refresh("/\x01"));
    EXPECT_THAT(log.takeLines(), SizeIs(1));
    EXPECT_EQ(contents(), before);
}

} // namespace
} // namespace lightpen
