// SPDX-License-Identifier: MIT
// The application's data files: what it believes when nobody has chosen anything, its languages, its own
// name.
#include <filesystem>
#include <map>

#include <gmock/gmock.h>

#include "kit/TemporaryDirectory.h"
#include "kit/device/EmulatedUnitFixture.h"
#include "kit/resources/ResourceFiles.h"
#include "linux_desktop/files/ApplicationBundle.h"

namespace lightpen {
namespace {

using testing::ElementsAreArray;
using testing::UnorderedElementsAreArray;

template <class Value>
std::vector<Value> listIn(const PropertyListDictionary& dictionary, const char* key) {
    const PropertyListValue* value = dictionary.find(key);
    const auto* array = value ? value->as<PropertyListArray>() : nullptr;
    EXPECT_TRUE(array) << key;
    std::vector<Value> values;
    for (const auto& element : array ? *array : PropertyListArray()) {
        const auto* one = element.as<Value>();
        EXPECT_TRUE(one) << key;
        values.push_back(one ? *one : Value());
    }
    return values;
}

std::vector<std::int64_t> exposures() {
    return listIn<std::int64_t>(shippedList("Info.plist"), "Threshold Values");
}

// What the built program says of itself: the version comes from the build.
std::string information(const char* key) {
    const auto read =
        readPropertyList(std::filesystem::path(LIGHTPEN_PROGRAM).replace_filename("Info.plist").string());
    EXPECT_TRUE(read.dictionary) << read.error;
    const PropertyListValue* value = read.dictionary ? read.dictionary->find(key) : nullptr;
    const auto* text = value ? value->as<std::string>() : nullptr;
    return text ? *text : std::string();
}

// Information

TEST(Resources, TheApplicationSaysWhatItIs) {
    EXPECT_EQ(information("CFBundleIdentifier"), "org.lightpen.LightPenNX7");
    EXPECT_EQ(information("CFBundleName"), "LightPenNX7");
    EXPECT_EQ(information("CFBundleExecutable"), std::filesystem::path(LIGHTPEN_PROGRAM).filename());
    EXPECT_EQ(information("CFBundleShortVersionString"), LIGHTPEN_VERSION);
    EXPECT_EQ(information("CFBundleVersion"), LIGHTPEN_VERSION);
    EXPECT_EQ(information("CFBundlePackageType"), "APPL");
    EXPECT_EQ(information("CFBundleInfoDictionaryVersion"), "6.0");
    EXPECT_EQ(information("CFBundleDevelopmentRegion"), "en");
}

TEST(Resources, ExposuresFallFromTheFarthestToTheNearest) {
    const auto values = exposures();
    ASSERT_EQ(values.size(), 3u);
    EXPECT_GT(values[0], values[1]);
    EXPECT_GT(values[1], values[2]);
    // A settings report has one byte for it, and none would see no pen.
    EXPECT_LE(values[0], 255);
    EXPECT_GE(values[2], 1);
}

using ExposureTest = EmulatedUnitFixture;

// Else a new user's menu would show no distance as the one in force.
TEST_F(ExposureTest, TheOneThatADriverStartsWithIsThatOfTheDefaultDistance) {
    CameraUnit& camera = addCamera();
    calibrate(camera);
    camera.plug();
    start();
    const PropertyListDictionary defaults = shippedList("NX.plist");
    const auto* distance = defaults.find("Projection Distance");
    ASSERT_TRUE(distance && distance->as<std::int64_t>());
    EXPECT_EQ(exposures().at(static_cast<std::size_t>(*distance->as<std::int64_t>())),
              driver->forcedExposure());
}

// Defaults

TEST(Resources, EachSettingHasItsFirstValue) {
    std::map<std::string, bool> flags;
    for (const auto& [key, value] : shippedList("NX.plist").entries)
        if (const bool* flag = value.as<bool>())
            flags[key] = *flag;
        else
            EXPECT_EQ(key, "Projection Distance") << "is no flag";
    // No "Language": a menu follows the desktop until one is chosen.
    EXPECT_EQ(flags, (std::map<std::string, bool>{{"Auto Calibration", false},
                                                  {"Projection Distance Setting", true},
                                                  {"Language Setting", true},
                                                  {"Help Menu", true},
                                                  {"Debug Window", false},
                                                  {"Preview Window", true},
                                                  {"Launch At Start Up", true}}));
    EXPECT_EQ(shippedList("NX.plist").entries.size(), flags.size() + 1);
}

// Languages

TEST(Resources, LanguagesStandInTheMenusOrder) {
    std::vector<std::string> keys;
    StringTable identifiers;
    for (const Language& language : applicationLanguages()) {
        keys.push_back(language.key);
        identifiers.emplace_back(language.key, language.identifier);
    }
    EXPECT_THAT(listIn<std::string>(shippedList("Info.plist"), "Supported Language"), ElementsAreArray(keys));
    EXPECT_EQ(textsOf(shippedList("Language.plist")), identifiers);
    EXPECT_EQ(identifiers.size(), 16u);
}

class LocaleTest : public testing::TestWithParam<Language> {};

TEST_P(LocaleTest, HasItsNameOfASubMenu) {
    const std::string& identifier = GetParam().identifier;
    const StringTable texts = textsOf(shippedList(identifier + ".lproj/Localizable.strings"));
    EXPECT_EQ(texts.size(), 2u);
    EXPECT_EQ(textOf(texts, "LightPenNX7"), "LightPenNX7") << "a name is not translated";
    const std::string subMenu = textOf(texts, "Sub Menu");
    EXPECT_FALSE(subMenu.empty());
    EXPECT_EQ(subMenu == "Sub Menu", identifier == "en");
    // Two languages write in one word what English writes in two.
    EXPECT_EQ(subMenu == "Submenu", identifier == "nl" || identifier == "pt");
}

INSTANTIATE_TEST_SUITE_P(, LocaleTest, testing::ValuesIn(applicationLanguages()), nameOfLanguage);

TEST(Resources, ThereIsAFolderForEachLocaleAndNoOther) {
    std::vector<std::string> folders;
    for (const Language& language : applicationLanguages())
        folders.push_back(language.identifier + ".lproj");
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(shippedFile("")))
        if (entry.path().extension() == ".lproj")
            found.push_back(entry.path().filename());
    EXPECT_THAT(found, UnorderedElementsAreArray(folders));
}

// Packing

std::string withVersion(std::string text) {
    constexpr std::string_view kPlace = "@PROJECT_VERSION@";
    for (auto place = text.find(kPlace); place != text.npos; place = text.find(kPlace, place))
        text.replace(place, kPlace.size(), LIGHTPEN_VERSION);
    return text;
}

TEST(Resources, TheProgramHasThemAllBesideIt) {
    const std::filesystem::path folder = std::filesystem::path(LIGHTPEN_PROGRAM).parent_path();
    const std::filesystem::path sources = shippedFile("");
    int files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(sources)) {
        // The description of its signals is for other programs.
        if (!entry.is_regular_file() || entry.path().extension() == ".xml")
            continue;
        const auto name = entry.path().lexically_relative(sources);
        const auto copy = name == "Info.plist" ? folder / name : folder / "resources" / name;
        const std::string text = readFile(entry.path());
        EXPECT_EQ(readFile(copy), name == "Info.plist" ? withVersion(text) : text) << name;
        ++files;
    }
    EXPECT_GE(files, 3 + 2 * 16);
}

TEST(Resources, TheApplicationReadsThem) {
    const ApplicationBundle bundle(std::filesystem::path(LIGHTPEN_PROGRAM).parent_path(), [] {
        return std::vector<std::string>{"th", "en"};
    });
    EXPECT_EQ(bundle.bundleIdentifier(), "org.lightpen.LightPenNX7");
    EXPECT_TRUE(bundle.objectForInfoDictionaryKey("Threshold Values"));
    EXPECT_TRUE(bundle.dictionaryWithContentsOfResource("Traditional Chinese", "strings"));
    EXPECT_EQ(bundle.localizedStringForKey("Sub Menu"), "เมนูย่อย");
}

} // namespace
} // namespace lightpen
