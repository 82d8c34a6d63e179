// SPDX-License-Identifier: MIT
#include "linux_desktop/XdgDefaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "support/RecordingLog.h"
#include "support/TemporaryDirectory.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class XdgDefaultsTest : public testing::Test {
protected:
    void write(const std::string& text) {
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        writeFile(file, text);
    }
    std::optional<DefaultsValue> reread(std::string_view key) { return XdgDefaults(file).objectForKey(key); }

    TemporaryDirectory directory;
    const std::string file = directory.file("config/LightPenNX7/settings.ini");
    RecordingLog log;
};

TEST_F(XdgDefaultsTest, HasNothingAtFirstAndSaysNothing) {
    const XdgDefaults defaults(file);
    EXPECT_EQ(defaults.objectForKey("Language"), std::nullopt);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(XdgDefaultsTest, PutsTheUsersValueBeforeTheRegisteredOne) {
    XdgDefaults defaults(file);
    defaults.registerDefaults({{"Distance", std::int64_t{3}}});
    EXPECT_EQ(defaults.objectForKey("Distance"), DefaultsValue(std::int64_t{3}));
    EXPECT_TRUE(defaults.setObject("Distance", std::int64_t{5}));
    EXPECT_EQ(defaults.objectForKey("Distance"), DefaultsValue(std::int64_t{5}));
    EXPECT_EQ(reread("Distance"), DefaultsValue(std::int64_t{5}));
}

TEST_F(XdgDefaultsTest, ReadsEveryValueBackAsItWas) {
    const std::vector<DefaultsValue> values{true,
                                            false,
                                            std::int64_t{0},
                                            std::int64_t{-7},
                                            std::numeric_limits<std::int64_t>::min(),
                                            0.1,
                                            3.0,
                                            -1e300,
                                            std::string(""),
                                            std::string("es"),
                                            std::string("true"),
                                            std::string("12"),
                                            std::string("1.5"),
                                            std::string("'quoted"),
                                            std::string("a, b; c=d \\ \"e\"\n%20 @Variant(é)"),
                                            std::string("  ends with spaces  ")};
    for (const DefaultsValue& value : values) {
        ASSERT_TRUE(XdgDefaults(file).setObject("Launch At Start Up", value));
        EXPECT_EQ(reread("Launch At Start Up"), value) << readFile(file);
    }
}

TEST_F(XdgDefaultsTest, KeepsWhatIsNotFinite) {
    XdgDefaults defaults(file);
    defaults.setObject("gain", std::numeric_limits<double>::infinity());
    EXPECT_EQ(defaults.objectForKey("gain"), DefaultsValue(std::numeric_limits<double>::infinity()));
    EXPECT_EQ(reread("gain"), DefaultsValue(std::string("inf"))); // no number that anything could use
}

TEST_F(XdgDefaultsTest, ReadsWhatPeopleType) {
    write("[General]\nPointer=xtest\nMain%20Screen=HDMI-1\nDistance=2\nTitle=one, two\nOn=true\n");
    const XdgDefaults defaults(file);
    EXPECT_EQ(defaults.objectForKey("Pointer"), DefaultsValue(std::string("xtest")));
    EXPECT_EQ(defaults.objectForKey("Main Screen"), DefaultsValue(std::string("HDMI-1")));
    EXPECT_EQ(defaults.objectForKey("Distance"), DefaultsValue(std::int64_t{2}));
    EXPECT_EQ(defaults.objectForKey("Title"), DefaultsValue(std::string("one, two")));
    EXPECT_EQ(defaults.objectForKey("On"), DefaultsValue(true));
}

TEST_F(XdgDefaultsTest, AValueOfAnotherTypeDoesNotCount) {
    write("[General]\nDistance=far\nGain=2\nOn=1\n");
    XdgDefaults defaults(file);
    defaults.registerDefaults({{"Distance", std::int64_t{3}}, {"Gain", 0.5}, {"On", true}});
    EXPECT_EQ(defaults.objectForKey("Distance"), DefaultsValue(std::int64_t{3}));
    EXPECT_EQ(defaults.objectForKey("Gain"), DefaultsValue(2.0));
    EXPECT_EQ(defaults.objectForKey("On"), DefaultsValue(true));
}

TEST_F(XdgDefaultsTest, KeepsWhatOthersHaveWrittenMeanwhile) {
    XdgDefaults defaults(file);
    defaults.setObject("first", std::int64_t{1});
    ASSERT_TRUE(XdgDefaults(file).setObject("second", std::int64_t{2}));
    defaults.setObject("third", std::int64_t{3});
    const XdgDefaults all(file);
    for (const auto& [key, value] : {std::pair("first", 1), std::pair("second", 2), std::pair("third", 3)})
        EXPECT_EQ(all.objectForKey(key), DefaultsValue(std::int64_t{value}));
}

TEST_F(XdgDefaultsTest, ReplacesTheFileInOneStep) {
    XdgDefaults defaults(file);
    defaults.setObject("a", std::int64_t{1});
    const std::string old = directory.file("old");
    std::filesystem::create_hard_link(file, old);
    const std::string before = readFile(old);
    defaults.setObject("a", std::int64_t{2});
    EXPECT_EQ(readFile(old), before); // the old file was not written into
    EXPECT_NE(readFile(file), before);
}

TEST_F(XdgDefaultsTest, MovesADamagedFileAside) {
    const std::string damaged = "[General]\nDistance=7\n\x01\x02 no such line\n[unclosed\n";
    write(damaged);
    XdgDefaults defaults(file);
    EXPECT_THAT(log.takeLines(),
                ElementsAre("Settings: " + file + " is damaged; the defaults hold, and it is kept as " +
                            file + ".damaged"));
    EXPECT_EQ(readFile(file + ".damaged"), damaged);
    EXPECT_FALSE(std::filesystem::exists(file));
    defaults.registerDefaults({{"Distance", std::int64_t{3}}});
    EXPECT_EQ(defaults.objectForKey("Distance"), DefaultsValue(std::int64_t{3}));

    // From then on it is a file like any other.
    EXPECT_TRUE(defaults.setObject("Gain", std::int64_t{9}));
    EXPECT_EQ(reread("Gain"), DefaultsValue(std::int64_t{9}));
    EXPECT_EQ(reread("Distance"), std::nullopt);
    EXPECT_THAT(log.takeLines(), IsEmpty());
}

TEST_F(XdgDefaultsTest, AFileThatCannotBeWrittenIsSaidAndTheValueHolds) {
    writeFile(directory.file("config"), "a file where a folder is needed");
    XdgDefaults defaults(file);
    log.clear();
    EXPECT_FALSE(defaults.setObject("Distance", std::int64_t{4}));
    EXPECT_THAT(log.takeLines(), ElementsAre("Settings: \"Distance\" cannot be written to " + file));
    EXPECT_EQ(defaults.objectForKey("Distance"), DefaultsValue(std::int64_t{4}));

    std::filesystem::remove(directory.file("config"));
    EXPECT_TRUE(defaults.setObject("Distance", std::int64_t{5}));
}

TEST_F(XdgDefaultsTest, AFileThatCannotBeReadIsSaid) {
    std::filesystem::create_directories(file);
    const XdgDefaults defaults(file);
    EXPECT_THAT(log.takeLines(), ElementsAre("Settings: " + file + " cannot be read; the defaults hold"));
}

TEST(XdgDefaultsFile, LiesUnderTheConfigurationFolder) {
    setenv("XDG_CONFIG_HOME", "/somewhere/else", 1);
    EXPECT_EQ(XdgDefaults::userFile(), "/somewhere/else/LightPenNX7/settings.ini");
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", "/home/pen", 1);
    EXPECT_EQ(XdgDefaults::userFile(), "/home/pen/.config/LightPenNX7/settings.ini");
}

} // namespace
} // namespace lightpen
