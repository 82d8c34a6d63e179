// SPDX-License-Identifier: MIT
// What those make of a stored login item who read it: the checker of desktop entries, and systemd, which
// starts them at login on the desktops of today.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "kit/ChildProcess.h"
#include "kit/TemporaryDirectory.h"
#include "linux_desktop/files/DesktopEntry.h"
#include "linux_desktop/files/XdgLoginItems.h"

namespace lightpen {
namespace {

using testing::HasSubstr;

constexpr const char* kGenerator = "/usr/lib/systemd/user-generators/systemd-xdg-autostart-generator";
constexpr const char* kUnit = "app-org.lightpen.LightPenNX7@autostart.service";

// The first word of a command line, as desktops and systemd read it.
std::string firstWord(const std::string& commandLine) {
    std::string word;
    bool quoted = false;
    for (std::size_t i = 0; i < commandLine.size(); ++i) {
        if (commandLine[i] == '"')
            quoted = !quoted;
        else if (commandLine[i] == ' ' && !quoted)
            break;
        else
            word += commandLine[commandLine[i] == '\\' ? ++i : i];
    }
    return word;
}

class LoginStartTest : public testing::TestWithParam<const char*> {
protected:
    // The application is a program that leaves a file where it stands.
    void SetUp() override {
        std::filesystem::create_directories(bundle);
        writeFile(bundle / "LightPenNX7", "#!/bin/sh\ntouch \"${0%/*}/started\"\n");
        std::filesystem::permissions(bundle / "LightPenNX7", std::filesystem::perms::owner_all);
        XdgLoginItems items(directory.file("config/autostart"));
        items.setValue({{bundle / "LightPenNX7", false, {}}});
        ASSERT_TRUE(items.synchronize());
    }
    std::string entry() const { return directory.file("config/autostart/org.lightpen.LightPenNX7.desktop"); }
    bool hasStarted() const { return std::filesystem::exists(bundle / "started"); }

    // Whether systemd makes a unit of the entry.
    bool systemdStartsIt() const {
        for (const char* folder : {"normal", "early", "late"}) {
            std::filesystem::remove_all(directory.file(folder));
            std::filesystem::create_directory(directory.file(folder));
        }
        EXPECT_EQ(runProgram(
                      {kGenerator, directory.file("normal"), directory.file("early"), directory.file("late")},
                      {{"XDG_CONFIG_HOME", directory.file("config")},
                       {"XDG_CONFIG_DIRS", directory.file("system")}}),
                  0);
        return std::filesystem::exists(directory.path() / "late/xdg-desktop-autostart.target.wants" / kUnit);
    }

    // The command line of the unit that systemd makes of the entry; empty when it makes none.
    std::string systemdsCommandLine() const {
        EXPECT_TRUE(systemdStartsIt());
        std::istringstream lines(readFile(directory.path() / "late" / kUnit));
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with("ExecStart=:"))
                return line.substr(line.find(':') + 1);
        return {};
    }

    const TemporaryDirectory directory;
    const std::filesystem::path bundle = directory.path() / GetParam() / "LightPenNX7";
};

TEST_P(LoginStartTest, TheCheckerAcceptsTheEntry) {
    EXPECT_EQ(runProgram({"desktop-file-validate", "--no-hints", entry()}), 0);
    // And it does look.
    writeFile(directory.file("bad.desktop"), readFile(entry()) + "Exec\n");
    EXPECT_EQ(runProgram({"desktop-file-validate", directory.file("bad.desktop")}), 1);
}

TEST_P(LoginStartTest, ADesktopThatReadsTheEntryStartsTheProgram) {
    const auto read = DesktopEntry::parse(readFile(entry()));
    ASSERT_TRUE(read);
    std::string commandLine = read->value("Exec").value_or("");
    // Where a single one marks a file to open.
    for (auto sign = commandLine.find("%%"); sign != commandLine.npos;
         sign = commandLine.find("%%", sign + 1))
        commandLine.erase(sign, 1);
    EXPECT_EQ(runProgram({firstWord(commandLine)}), 0);
    EXPECT_TRUE(hasStarted());
}

using SystemdStartTest = LoginStartTest;

TEST_P(SystemdStartTest, StartsTheProgramWhenTheDesktopIsThere) {
    ASSERT_TRUE(std::filesystem::exists(kGenerator)) << "the package systemd is missing";
    const std::string commandLine = systemdsCommandLine();
    ASSERT_NE(commandLine, "");
    EXPECT_EQ(runProgram({firstWord(commandLine)}), 0);
    EXPECT_TRUE(hasStarted());
    EXPECT_THAT(readFile(directory.path() / "late" / kUnit), HasSubstr("After=graphical-session.target"));
}

TEST_P(SystemdStartTest, LeavesAnEntryAloneWhoseProgramIsGone) {
    ASSERT_TRUE(systemdStartsIt());
    std::filesystem::remove(bundle / "LightPenNX7");
    EXPECT_FALSE(systemdStartsIt());
}

TEST_P(SystemdStartTest, LeavesTheSystemsEntryAloneWhenItsItemIsTakenOff) {
    const std::string folder = directory.file("system/autostart");
    std::filesystem::create_directories(folder);
    std::filesystem::rename(entry(),
                            std::filesystem::path(folder) / std::filesystem::path(entry()).filename());
    ASSERT_TRUE(systemdStartsIt());
    XdgLoginItems items(directory.file("config/autostart"), {folder});
    ASSERT_TRUE(items.copyValue());
    items.setValue({});
    ASSERT_TRUE(items.synchronize());
    EXPECT_FALSE(systemdStartsIt());
    EXPECT_EQ(runProgram({"desktop-file-validate", "--no-hints", entry()}), 0);
}

constexpr const char* kPlain = "opt";
constexpr const char* kOdd = "größer & \"better\" $HOME; `it`'s ~(#1)";

INSTANTIATE_TEST_SUITE_P(Folders, LoginStartTest, testing::Values(kPlain, kOdd, "50% back\\slash"));
// systemd 252 takes %% and a backslash for themselves, against the rules of desktop entries.
INSTANTIATE_TEST_SUITE_P(Folders, SystemdStartTest, testing::Values(kPlain, kOdd));

} // namespace
} // namespace lightpen
