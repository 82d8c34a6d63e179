// SPDX-License-Identifier: MIT
#include "linux_desktop/files/DesktopEntry.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

DesktopEntry parsed(const std::string& text) {
    const auto entry = DesktopEntry::parse(text);
    EXPECT_TRUE(entry) << text;
    return entry.value_or(DesktopEntry());
}

std::string afterSetting(const std::string& text, const std::string& key, const std::string& value) {
    DesktopEntry entry = parsed(text);
    EXPECT_TRUE(entry.set(key, value));
    EXPECT_EQ(entry.value(key), value);
    return entry.text();
}

TEST(DesktopEntry, BeginsAsAnApplication) {
    const DesktopEntry entry;
    EXPECT_EQ(entry.text(), "[Desktop Entry]\nType=Application\n");
    EXPECT_EQ(entry.value("Type"), "Application");
    EXPECT_EQ(entry.value("Exec"), std::nullopt);
}

TEST(DesktopEntry, ReadsTheKeysOfItsMainGroup) {
    const auto entry = parsed("# first\n\n[Desktop Entry]\n Name = Pen  \nName[de]=Stift\n#Exec=no\nEmpty=\n"
                              "Exec=a=b\nExec=second\n[Desktop Action New]\nIcon=other\n");
    EXPECT_EQ(entry.value("Name"), "Pen");
    EXPECT_EQ(entry.value("Name[de]"), "Stift");
    EXPECT_EQ(entry.value("Empty"), "");
    EXPECT_EQ(entry.value("Exec"), "a=b");
    EXPECT_EQ(entry.value("Icon"), std::nullopt);
    EXPECT_EQ(entry.value("exec"), std::nullopt);
    EXPECT_EQ(entry.value(""), std::nullopt);
}

TEST(DesktopEntry, ReadsLinesOfOtherSystems) {
    const auto entry = parsed("[Desktop Entry]\r\nName=Pen\r\nExec=pen\r");
    EXPECT_EQ(entry.value("Name"), "Pen");
    EXPECT_EQ(entry.value("Exec"), "pen");
}

TEST(DesktopEntry, KnowsTheEscapes) {
    const auto entry = parsed(R"([Desktop Entry]
A=\sone\stwo\n\t\r\\
B=\q\
)");
    EXPECT_EQ(entry.value("A"), " one two\n\t\r\\");
    EXPECT_EQ(entry.value("B"), "\\q\\");
}

TEST(DesktopEntry, WhatIsNoneIsRefused) {
    for (const std::string& none :
         {std::string(), std::string("\n# only this\n"), std::string("Name=Pen\n"),
          std::string("[Other]\n[Desktop Entry]\n"), std::string("[Desktop Entry]\nName\n"),
          std::string("[desktop entry]\n"), std::string("[Desktop Entry]\nName=\xff\xfe\n"),
          std::string("[Desktop Entry]\nName=\xed\xa0\x80\n"), std::string("\xef\xbb\xbf[Desktop Entry]\n"),
          std::string("[Desktop Entry]\nName=a\0b\n", 25)})
        EXPECT_FALSE(DesktopEntry::parse(none)) << none;
}

TEST(DesktopEntry, KeepsEveryKeyOfItsMainGroup) {
    const std::string text =
        "# of mine\n[Desktop Entry]\r\n  Name = Pen \nX-Other=\xc3\xa9 \\q\nX-Other=b\n\n# end\n"
        "[Desktop Action New]\nName=New\n\n";
    EXPECT_EQ(parsed(text).text(), "[Desktop Entry]\nName=Pen\nX-Other=\xc3\xa9 \\q\nX-Other=b\n");
    EXPECT_EQ(afterSetting(text, "Name", "Stift"),
              "[Desktop Entry]\nName=Stift\nX-Other=\xc3\xa9 \\q\nX-Other=b\n");
}

TEST(DesktopEntry, PutsANewKeyAtTheEnd) {
    EXPECT_EQ(afterSetting("[Desktop Entry]\nName=Pen\n\n\n[Other]\nB=1\n", "B", "2"),
              "[Desktop Entry]\nName=Pen\nB=2\n");
    EXPECT_EQ(afterSetting("[Desktop Entry]", "B", "2"), "[Desktop Entry]\nB=2\n");
}

TEST(DesktopEntry, ReadsBackWhatWasSet) {
    for (const char* value :
         {"", " ", "  both ends  ", "in the middle", "\n\t\r\\", "\\n", "a=b;c#d", "größer 筆", "100%"}) {
        DesktopEntry entry;
        EXPECT_TRUE(entry.set("Key", value));
        EXPECT_EQ(parsed(entry.text()).value("Key"), value);
        EXPECT_EQ(entry.text().find("Key="), std::string("[Desktop Entry]\nType=Application\n").size());
    }
}

TEST(DesktopEntry, RefusesWhatItCannotHold) {
    DesktopEntry entry;
    const std::string before = entry.text();
    for (const std::string& value : {std::string("\xff"), std::string("a\0b", 3), std::string("\x1b[1m"),
                                     std::string("\x7f"), std::string("caf\xe9")})
        EXPECT_FALSE(entry.set("Key", value));
    EXPECT_EQ(entry.text(), before);
}

TEST(DesktopEntry, ACommandLineNamesItsProgram) {
    EXPECT_EQ(commandLineOf("/opt/LightPenNX7/LightPenNX7"), "/opt/LightPenNX7/LightPenNX7");
    EXPECT_EQ(commandLineOf("/opt/Light Pen/x"), "\"/opt/Light Pen/x\"");
    EXPECT_EQ(commandLineOf("/q\"`$\\/x"), "\"/q\\\"\\`\\$\\\\/x\"");
    EXPECT_EQ(commandLineOf("/50%/x"), "/50%%/x");
    EXPECT_EQ(commandLineOf(""), "\"\"");
    EXPECT_EQ(commandLineOf("/all;&<>'~#()*?|\t\n"), "\"/all;&<>'~#()*?|\t\n\"");
    EXPECT_EQ(commandLineOf("/größer/筆"), "/größer/筆");
}

} // namespace
} // namespace lightpen
