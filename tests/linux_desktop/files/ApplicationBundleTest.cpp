// SPDX-License-Identifier: MIT
#include "linux_desktop/files/ApplicationBundle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Strings = std::vector<std::string>;

std::string listOf(const std::string& content) {
    return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0">)" + content + "</plist>\n";
}

std::string dictionaryOf(const std::string& entries) {
    return listOf("<dict>" + entries + "</dict>");
}

std::string textEntry(const std::string& key, const std::string& text) {
    return "<key>" + key + "</key><string>" + text + "</string>";
}

class ApplicationBundleTest : public testing::Test {
protected:
    ApplicationBundleTest() {
        put("Info.plist", dictionaryOf(textEntry("CFBundleIdentifier", "org.example.pen") +
                                       "<key>Threshold Values</key><array><integer>7</integer></array>"));
    }
    void put(const std::string& name, const std::string& content) {
        const auto file = folder / name;
        std::filesystem::create_directories(file.parent_path());
        writeFile(file, content);
    }
    void putTable(const std::string& language, const std::string& entries) {
        put("resources/" + language + ".lproj/Localizable.strings", dictionaryOf(entries));
    }
    std::string path(const std::string& name) const { return (folder / name).string(); }
    ApplicationBundle bundle(Strings languages = {"en"}) const {
        return ApplicationBundle(folder, [languages] { return languages; });
    }
    // One line, which names the file.
    void expectOneLineAbout(const std::string& name) {
        EXPECT_THAT(log.takeLines(),
                    ElementsAre(AllOf(StartsWith("Application: " + path(name) + ": "), HasSubstr(" "))));
    }

    const TemporaryDirectory directory;
    const std::filesystem::path folder = directory.path() / "Light Pen" / "LightPenNX7";
    RecordingLog log;
};

TEST_F(ApplicationBundleTest, IsTheFolderOfTheProgram) {
    EXPECT_EQ(bundle().executablePath(), path("LightPenNX7"));
    const ApplicationBundle other(
        folder, [] { return std::vector<std::string>{}; }, "LightPenNX7-webcam");
    EXPECT_EQ(other.executablePath(), path("LightPenNX7-webcam"));
    EXPECT_EQ(ApplicationBundle::folderOfTheProgram(),
              std::filesystem::read_symlink("/proc/self/exe").parent_path());
}

TEST_F(ApplicationBundleTest, SaysWhatItIs) {
    const auto application = bundle();
    EXPECT_EQ(application.bundleIdentifier(), "org.example.pen");
    const auto thresholds = application.objectForInfoDictionaryKey("Threshold Values");
    ASSERT_TRUE(thresholds && thresholds->as<PropertyListArray>());
    EXPECT_EQ(*thresholds->as<PropertyListArray>()->at(0).as<std::int64_t>(), 7);
    EXPECT_FALSE(application.objectForInfoDictionaryKey("Threshold"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ApplicationBundleTest, AMissingInformationDictionaryIsSaidOnce) {
    std::filesystem::remove(folder / "Info.plist");
    const auto application = bundle();
    EXPECT_FALSE(application.bundleIdentifier());
    EXPECT_FALSE(application.objectForInfoDictionaryKey("Supported Language"));
    EXPECT_THAT(log.takeLines(),
                ElementsAre("Application: " + path("Info.plist") + ": No such file or directory"));
}

TEST_F(ApplicationBundleTest, ADamagedInformationDictionaryIsSaidOnce) {
    for (const std::string& damaged :
         {std::string(), std::string("<plist><dict><key>CFBundle"), listOf("<string>text</string>"),
          listOf("<dict><key>when</key><data>AAAA</data></dict>")}) {
        put("Info.plist", damaged);
        const auto application = bundle();
        EXPECT_FALSE(application.bundleIdentifier());
        EXPECT_FALSE(application.bundleIdentifier());
        expectOneLineAbout("Info.plist");
    }
}

TEST_F(ApplicationBundleTest, AFolderInPlaceOfTheInformationDictionaryIsSaidOnce) {
    std::filesystem::remove(folder / "Info.plist");
    std::filesystem::create_directory(folder / "Info.plist");
    EXPECT_FALSE(bundle().bundleIdentifier());
    expectOneLineAbout("Info.plist");
}

TEST_F(ApplicationBundleTest, AnIdentifierThatIsNoTextIsNone) {
    put("Info.plist", dictionaryOf("<key>CFBundleIdentifier</key><integer>3</integer>"));
    EXPECT_FALSE(bundle().bundleIdentifier());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ApplicationBundleTest, KnowsOtherApplicationsByTheirFolders) {
    put("other/Info.plist", dictionaryOf(textEntry("CFBundleIdentifier", "org.example.other")));
    put("damaged/Info.plist", "<plist>");
    put("nameless/Info.plist", dictionaryOf(""));
    std::filesystem::create_directories(folder / "pipe");
    ASSERT_EQ(mkfifo(path("pipe/Info.plist").c_str(), 0600), 0);
    const auto application = bundle();
    EXPECT_EQ(application.bundleIdentifierAtPath(path("other")), "org.example.other");
    EXPECT_EQ(application.bundleIdentifierAtPath(path("other/")), "org.example.other");
    for (const char* program : {"other/program", "damaged/program", "resources/table"})
        put(program, "");
    EXPECT_EQ(application.bundleIdentifierAtPath(path("other/program")), "org.example.other");
    EXPECT_EQ(application.bundleIdentifierAtPath(path("Info.plist")), "org.example.pen");
    for (const char* none : {"damaged", "nameless", "pipe", "nothing", "damaged/program", "resources/table"})
        EXPECT_FALSE(application.bundleIdentifierAtPath(path(none))) << none;
    EXPECT_FALSE(application.bundleIdentifierAtPath(""));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ApplicationBundleTest, FindsItsResources) {
    put("resources/Picture 1.svg", "<svg/>");
    std::filesystem::create_directory(folder / "resources" / "folder.svg");
    const auto application = bundle();
    EXPECT_EQ(application.pathForResource("Picture 1", "svg"), path("resources/Picture 1.svg"));
    EXPECT_FALSE(application.pathForResource("Picture 2", "svg"));
    EXPECT_FALSE(application.pathForResource("folder", "svg"));
    EXPECT_FALSE(application.pathForResource("Info", "plist")); // it is not among them
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ApplicationBundleTest, ReadsItsTables) {
    put("resources/Traditional Chinese.strings", dictionaryOf(textEntry("Exit", "結束")));
    const auto table = bundle().dictionaryWithContentsOfResource("Traditional Chinese", "strings");
    ASSERT_TRUE(table && table->find("Exit"));
    EXPECT_EQ(*table->find("Exit")->as<std::string>(), "結束");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ApplicationBundleTest, AMissingOrDamagedTableIsSaid) {
    const auto application = bundle();
    EXPECT_FALSE(application.dictionaryWithContentsOfResource("Thai", "strings"));
    expectOneLineAbout("resources/Thai.strings");
    put("resources/Thai.strings", dictionaryOf("<key>Exit</key>"));
    put("resources/NX.plist", "\x01\x02\x03");
    EXPECT_FALSE(application.dictionaryWithContentsOfResource("NX", "plist"));
    expectOneLineAbout("resources/NX.plist");
}

TEST_F(ApplicationBundleTest, SpeaksTheFirstLanguageThatHasTheText) {
    putTable("fr", textEntry("Sub Menu", "Sous-menu"));
    putTable("en", textEntry("Sub Menu", "Sub Menu (en)") + textEntry("LightPenNX7", "LightPenNX7 (en)"));
    putTable("zh-Hant", textEntry("Sub Menu", "子選單"));
    EXPECT_EQ(bundle({"fr", "en"}).localizedStringForKey("Sub Menu"), "Sous-menu");
    EXPECT_EQ(bundle({"en", "fr"}).localizedStringForKey("Sub Menu"), "Sub Menu (en)");
    EXPECT_EQ(bundle({"zh-Hant"}).localizedStringForKey("Sub Menu"), "子選單");
    EXPECT_EQ(bundle({"eo", "fr"}).localizedStringForKey("Sub Menu"), "Sous-menu"); // no table of the first
    EXPECT_EQ(bundle({"fr", "en"}).localizedStringForKey("LightPenNX7"), "LightPenNX7 (en)");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ApplicationBundleTest, WithoutATextTheKeySpeaksForItself) {
    putTable("fr", "<key>Sub Menu</key><true/>");
    EXPECT_EQ(bundle({"fr"}).localizedStringForKey("Sub Menu"), "Sub Menu");
    EXPECT_EQ(bundle({"eo"}).localizedStringForKey("Sub Menu"), "Sub Menu");
    EXPECT_EQ(bundle({}).localizedStringForKey("Sub Menu"), "Sub Menu");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ApplicationBundleTest, ADamagedLocalisationIsSaidAndTheNextLanguageSpeaks) {
    put("resources/fr.lproj/Localizable.strings", "<plist><dict>");
    putTable("en", textEntry("Sub Menu", "Sub Menu (en)"));
    EXPECT_EQ(bundle({"fr", "en"}).localizedStringForKey("Sub Menu"), "Sub Menu (en)");
    expectOneLineAbout("resources/fr.lproj/Localizable.strings");
}

TEST_F(ApplicationBundleTest, FollowsTheLanguagesOfTheUser) {
    putTable("fr", textEntry("Sub Menu", "Sous-menu"));
    putTable("it", textEntry("Sub Menu", "Sottomenu"));
    Strings languages{"fr"};
    const ApplicationBundle application(folder, [&] { return languages; });
    EXPECT_EQ(application.localizedStringForKey("Sub Menu"), "Sous-menu");
    languages = {"it"};
    EXPECT_EQ(application.localizedStringForKey("Sub Menu"), "Sottomenu");
}

TEST_F(ApplicationBundleTest, CanBePutAnywhere) {
    put("resources/connect.svg", "<svg/>");
    putTable("en", textEntry("Sub Menu", "Sub Menu (en)"));
    const auto elsewhere = directory.path() / "größer";
    std::filesystem::rename(folder, elsewhere);
    const ApplicationBundle moved(elsewhere, [] { return Strings{"en"}; });
    EXPECT_EQ(moved.bundleIdentifier(), "org.example.pen");
    EXPECT_EQ(moved.pathForResource("connect", "svg"), (elsewhere / "resources/connect.svg").string());
    EXPECT_EQ(moved.localizedStringForKey("Sub Menu"), "Sub Menu (en)");
}

} // namespace
} // namespace lightpen
