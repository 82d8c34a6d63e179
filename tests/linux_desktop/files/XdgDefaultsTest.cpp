// SPDX-License-Identifier: MIT
#include "linux_desktop/files/XdgDefaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include <QLockFile>

#include "kit/Eventually.h"
#include "kit/OrdinaryUser.h"
#include "kit/RecordingLog.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

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
    write("[General]\nDistance=far\nGain=2\nHalf=true\nName=7\nOn%20Time=yes\nOn=1\nFree=what\n");
    XdgDefaults defaults(file);
    EXPECT_THAT(log.takeLines(), IsEmpty());
    defaults.registerDefaults({{"Distance", std::int64_t{3}},
                               {"Gain", 0.5},
                               {"Half", 0.25},
                               {"Name", std::string("pen")},
                               {"On", true},
                               {"On Time", false},
                               {"Unset", true}});
    const auto line = [&](const std::string& words) {
        return "Settings: " + file + ": " + words + "; the default holds";
    };
    EXPECT_THAT(log.takeLines(),
                ElementsAre(line("\"Distance\" is \"far\", not a whole number"),
                            line("\"Half\" is \"true\", not a number"), line("\"Name\" is \"7\", not a text"),
                            line("\"On\" is \"1\", not true or false"),
                            line("\"On Time\" is \"yes\", not true or false")));
    EXPECT_EQ(defaults.objectForKey("Half"), DefaultsValue(0.25));
    EXPECT_EQ(defaults.objectForKey("Name"), DefaultsValue(std::string("pen")));
    EXPECT_EQ(defaults.objectForKey("On Time"), DefaultsValue(false));
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

TEST_F(XdgDefaultsTest, GivesTheRegisteredValueBack) {
    XdgDefaults defaults(file);
    defaults.registerDefaults({{"Language", std::string("en")}});
    EXPECT_EQ(defaults.objectForKey("Language"), DefaultsValue(std::string("en")));
    defaults.setObject("Language", std::string("th"));
    EXPECT_EQ(defaults.objectForKey("Language"), DefaultsValue(std::string("th")));
    defaults.setObject("Distance", std::int64_t{5});
    EXPECT_TRUE(defaults.removeObjectForKey("Language"));
    EXPECT_EQ(defaults.objectForKey("Language"), DefaultsValue(std::string("en")));
    EXPECT_EQ(reread("Language"), std::nullopt);
    EXPECT_EQ(reread("Distance"), DefaultsValue(std::int64_t{5}));
    EXPECT_TRUE(defaults.removeObjectForKey("Language"));
    EXPECT_TRUE(defaults.setObject("Language", std::string("ja")));
    EXPECT_EQ(reread("Language"), DefaultsValue(std::string("ja")));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(XdgDefaultsTest, TakesAwayWhatSomebodyElseHasSet) {
    XdgDefaults defaults(file);
    ASSERT_TRUE(XdgDefaults(file).setObject("Language", std::string("th")));
    EXPECT_TRUE(defaults.removeObjectForKey("Language"));
    EXPECT_EQ(reread("Language"), std::nullopt);
}

TEST_F(XdgDefaultsTest, AValueThatCannotBeTakenAwayIsSaid) {
    XdgDefaults defaults(file);
    defaults.setObject("Language", std::string("th"));
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_FALSE(defaults.removeObjectForKey("Language"));
    EXPECT_THAT(log.takeLines(), ElementsAre("Settings: \"Language\" cannot be written to " + file));
    EXPECT_EQ(defaults.objectForKey("Language"), std::nullopt);
}

// What a crash, a bad disk or an editor can make of the file.
class DamagedDefaultsTest : public XdgDefaultsTest, public testing::WithParamInterface<std::string> {};

TEST_P(DamagedDefaultsTest, AreMovedAsideAtTheStart) {
    write(GetParam());
    XdgDefaults defaults(file);
    EXPECT_THAT(log.takeLines(),
                ElementsAre("Settings: " + file + " is damaged; the defaults hold, and it is kept as " +
                            file + ".damaged"));
    EXPECT_TRUE(readFile(file + ".damaged") == GetParam());
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(defaults.objectForKey("Distance"), std::nullopt);
    // From then on it is a file like any other.
    EXPECT_TRUE(defaults.setObject("Distance", std::int64_t{2}));
    EXPECT_EQ(reread("Distance"), DefaultsValue(std::int64_t{2}));
    EXPECT_THAT(log.takeLines(), IsEmpty());
}

TEST_P(DamagedDefaultsTest, AreWrittenAnewLater) {
    XdgDefaults defaults(file);
    defaults.setObject("Language", std::string("th"));
    defaults.setObject("Distance", std::int64_t{2});
    write(GetParam());
    EXPECT_TRUE(defaults.setObject("Distance", std::int64_t{3}));
    EXPECT_THAT(log.takeLines(), ElementsAre("Settings: " + file + " has been damaged; it is kept as " +
                                             file + ".damaged and written anew"));
    EXPECT_TRUE(readFile(file + ".damaged") == GetParam());
    EXPECT_EQ(reread("Language"), DefaultsValue(std::string("th")));
    EXPECT_EQ(reread("Distance"), DefaultsValue(std::int64_t{3}));
}

TEST_P(DamagedDefaultsTest, AreLeftAloneWhereTheyCannotBeMoved) {
    write(GetParam());
    std::filesystem::create_directories(file + ".damaged/full");
    XdgDefaults defaults(file);
    EXPECT_THAT(log.takeLines(), ElementsAre("Settings: " + file + " is damaged; the defaults hold"));
    EXPECT_FALSE(defaults.setObject("Distance", std::int64_t{2}));
    EXPECT_THAT(log.takeLines(), ElementsAre("Settings: \"Distance\" cannot be written to " + file));
    EXPECT_TRUE(readFile(file) == GetParam());
    EXPECT_EQ(defaults.objectForKey("Distance"), DefaultsValue(std::int64_t{2}));
}

INSTANTIATE_TEST_SUITE_P(All, DamagedDefaultsTest,
                         testing::Values("[General]\nDistance=7\n\x01\x02 no such line\n[unclosed\n",
                                         "[General]\nDistance=7\nLangu", // cut off in a key
                                         "[Gene",                        // in the group
                                         "\x7f"
                                         "ELF\x01\x02 = \xc3\xa9\n no such line\n", // another file
                                         std::string(4096, '\0'), // of a crash of the machine
                                         "[General]\nDistance=7\n" + std::string(3, '\0'),
                                         "[General]\nDistance=7\nLanguage=caf\xe9\n",
                                         "[General]\nDistance=7\n" + std::string(1024 * 1024, ';') + "\n"));

// What Qt makes objects of, each in its own disguise: this one asks for gigabytes.
INSTANTIATE_TEST_SUITE_P(Objects, DamagedDefaultsTest,
                         testing::Values("Language=@Variant(\\0\\0\\0\\t(1 2 3 4)\n", //
                                         "Language= \"\"@Variant(\\0)\n", "Language=\\x40Variant(\\0)\n",
                                         "Language=@V\\x61r\"\"iant(\\0)\n", "Language=@DateTime(\\0)\n",
                                         "Language=\\x10040Variant(\\0)\n", "Language=\\100Variant(\\0)\n",
                                         "Language=\\z@Variant(\\0)\n", "Language=\\@@Variant(\\0)\n",
                                         "Language=en, @Variant(\\0)\n", "Language=\\\n@Variant(\\0)\n",
                                         "Language=\\\r\n@Variant(\\0)\n", "Language=\"@\" \tVariant(\\0)\n",
                                         "Language=en,\t @Variant(\\0)\n",
                                         "[General]\rLanguage=@Variant(\\0)\n"));

TEST_F(XdgDefaultsTest, AnAtSignWithinATextIsNoObject) {
    write("; written @ home\nDistance=7\nLanguage=me@home.example\nScreen=caf\xc3\xa9@2\n");
    EXPECT_EQ(reread("Language"), DefaultsValue(std::string("me@home.example")));
    EXPECT_EQ(reread("Screen"), DefaultsValue(std::string("caf\xc3\xa9@2")));
    for (const std::string text : {"@Variant", "@String(a)", "@@", "@", "@@@x", "a @ b", "a\x01@ b", " @",
                                   "en, @b", "a=@\\Variant(b", "a=@ Variant(", "a,@\tVariant(",
                                   "a=@\nVariant(", "a=@\"Variant(", "a=\\@DateTime(", "=@'Variant("}) {
        ASSERT_TRUE(XdgDefaults(file).setObject("Language", text));
        EXPECT_EQ(reread("Language"), DefaultsValue(text));
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(XdgDefaultsTest, AFolderOrAPipeInItsPlaceIsSaidAndHoldsNobodyUp) {
    for (const bool pipe : {false, true}) {
        std::filesystem::create_directories(file);
        if (pipe) {
            std::filesystem::remove(file);
            ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
        }
        XdgDefaults defaults(file);
        EXPECT_THAT(log.takeLines(), ElementsAre("Settings: " + file + " cannot be read; the defaults hold"));
        EXPECT_FALSE(defaults.setObject("Distance", std::int64_t{2}));
        EXPECT_THAT(log.takeLines(), ElementsAre("Settings: \"Distance\" cannot be written to " + file));
    }
}

TEST_F(XdgDefaultsTest, WritesThroughALink) {
    write("[General]\nDistance=7\n");
    const std::string real = directory.file("real.ini");
    std::filesystem::rename(file, real);
    std::filesystem::create_symlink(real, file);
    EXPECT_TRUE(XdgDefaults(file).setObject("Distance", std::int64_t{8}));
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_EQ(XdgDefaults(real).objectForKey("Distance"), DefaultsValue(std::int64_t{8}));
}

// The modes of the file and of its folder, and how many lines the refusal to write costs.
struct Permissions {
    const char* name;
    mode_t file, folder;
    std::size_t lines;
};

class RefusedDefaultsTest : public XdgDefaultsTest, public testing::WithParamInterface<Permissions> {};

TEST_P(RefusedDefaultsTest, KeepTheFileAsItWas) {
    if (!ordinaryUserMayEnter(directory.path().parent_path()))
        GTEST_SKIP() << "no ordinary user can go into the folder for temporary files";
    const std::string text = "[General]\nDistance=7\n";
    write(text);
    const auto folder = std::filesystem::path(file).parent_path();
    for (auto above = folder; above != directory.path().parent_path(); above = above.parent_path())
        ASSERT_EQ(chmod(above.c_str(), 0755), 0);
    ASSERT_EQ(chmod(file.c_str(), GetParam().file), 0);
    ASSERT_EQ(chmod(folder.c_str(), GetParam().folder), 0);
    {
        const OrdinaryUser ordinary;
        XdgDefaults defaults(file);
        EXPECT_FALSE(defaults.setObject("Distance", std::int64_t{8}));
        EXPECT_EQ(defaults.objectForKey("Distance"), DefaultsValue(std::int64_t{8}));
    }
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    ASSERT_EQ(chmod(file.c_str(), 0644), 0);
    EXPECT_EQ(readFile(file), text);
    EXPECT_THAT(log.lines(), SizeIs(GetParam().lines));
}

INSTANTIATE_TEST_SUITE_P(Where, RefusedDefaultsTest,
                         testing::Values(Permissions{"TheFileMayNotBeWritten", 0444, 0777, 1},
                                         Permissions{"TheFolderMayNotBeWritten", 0444, 0555, 1},
                                         Permissions{"TheFileMayNotBeRead", 0, 0777, 2}),
                         [](const auto& suite) { return suite.param.name; });

// A process that stores one number after another and says each when it is stored, until it is killed.
[[noreturn]] void storeNumbers(const std::string& file, int acknowledgements) {
    XdgDefaults defaults(file);
    for (std::int64_t number = 1;; ++number) {
        if (!defaults.setObject("Number", number) ||
            ::write(acknowledgements, &number, sizeof number) != sizeof number)
            std::_Exit(1);
    }
}

TEST_F(XdgDefaultsTest, SurvivesACrashAtAnyMoment) {
    write("[General]\nLanguage=th\n");
    std::int64_t reached = 0;
    for (int crash = 0; crash < 25; ++crash) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            storeNumbers(file, ends[1]);
        close(ends[1]);
        std::int64_t acknowledged = 0;
        while (acknowledged < 3 && ::read(ends[0], &acknowledged, sizeof acknowledged) > 0) {
        }
        std::this_thread::sleep_for(crash * std::chrono::microseconds(40)); // another moment each time
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        while (::read(ends[0], &acknowledged, sizeof acknowledged) > 0) {
        }
        close(ends[0]);
        EXPECT_EQ(reread("Language"), DefaultsValue(std::string("th")));
        const auto stored = reread("Number");
        ASSERT_TRUE(stored);
        EXPECT_GE(std::get<std::int64_t>(*stored), acknowledged);
        EXPECT_LE(std::get<std::int64_t>(*stored), acknowledged + 1);
        reached = acknowledged;
    }
    EXPECT_GE(reached, 3);
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_TRUE(XdgDefaults(file).setObject("Language", std::string("ja"))); // no lock holds it up
}

TEST_F(XdgDefaultsTest, AnEmptyLockOfACrashIsNoLock) {
    write("[General]\nDistance=7\n");
    writeFile(file + ".lock", "");
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_TRUE(XdgDefaults(file).setObject("Distance", std::int64_t{8}));
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(20)) << "Qt would wait for 30";
    EXPECT_EQ(reread("Distance"), DefaultsValue(std::int64_t{8}));
    EXPECT_FALSE(std::filesystem::exists(file + ".lock"));
}

// A program that has begun to write the settings and stands still, until it goes.
class HeldLock {
public:
    explicit HeldLock(const std::string& file) : program_(fork()) {
        if (program_ == 0) {
            QLockFile lock(QString::fromStdString(file + ".lock"));
            lock.lock();
            for (;;)
                pause();
        }
    }
    ~HeldLock() {
        kill(program_, SIGKILL);
        waitpid(program_, nullptr, 0);
    }
    HeldLock(const HeldLock&) = delete;
    HeldLock& operator=(const HeldLock&) = delete;

private:
    const pid_t program_;
};

TEST_F(XdgDefaultsTest, AProgramThatHoldsTheLockHoldsNobodyUp) {
    write("[General]\nDistance=7\n");
    XdgDefaults defaults(file);
    {
        const HeldLock held(file);
        ASSERT_TRUE(eventually([&] { return !readFile(file + ".lock").empty(); }));
        const auto begun = std::chrono::steady_clock::now();
        EXPECT_FALSE(defaults.setObject("Distance", std::int64_t{8}));
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(20)) << "Qt would wait on";
        EXPECT_THAT(log.takeLines(), ElementsAre("Settings: \"Distance\" cannot be written to " + file +
                                                 ": another program holds its lock"));
        EXPECT_EQ(defaults.objectForKey("Distance"), DefaultsValue(std::int64_t{8}));
        EXPECT_EQ(reread("Distance"), DefaultsValue(std::int64_t{7}));
    }
    EXPECT_TRUE(defaults.setObject("Distance", std::int64_t{9})); // the lock of a dead program is none
    EXPECT_EQ(reread("Distance"), DefaultsValue(std::int64_t{9}));
    EXPECT_THAT(log.takeLines(), IsEmpty());
}

} // namespace
} // namespace lightpen
