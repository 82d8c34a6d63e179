// SPDX-License-Identifier: MIT
#include "app/HelpReport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <QDir>

#include "app/ControllerFixture.h"
#include "app/ProgramVersion.h"

namespace lightpen {
namespace {

using testing::HasSubstr;
using testing::Not;

class HelpReportTest : public ControllerFixture {
protected:
    HelpReportTest() {
        qputenv("XDG_CURRENT_DESKTOP", "Sketch:GNOME");
        qputenv("XDG_SESSION_TYPE", "wayland");
    }

    ProgramFacts facts;
};

TEST_F(HelpReportTest, TellsVersionsAndDesktop) {
    facts.pointer = [] { return std::string("uinput"); };
    const std::string report = helpReport(facts);
    EXPECT_THAT(report, HasSubstr("Versions\n  LightPenNX7: " + std::string(kProgramVersion) +
                                  "\n  Qt: " + std::string(qVersion()) + "\n"));
    EXPECT_THAT(report, HasSubstr("\n  Kernel: linux "));
    EXPECT_THAT(report, HasSubstr("\n\nDesktop\n  Desktop: Sketch:GNOME\n  Session: wayland\n"
                                  "  Window system: offscreen\n"));
    EXPECT_THAT(report, HasSubstr(" 800 x 800 points at (0, 0), scale 1, 60 Hz, has the picture\n"));
    EXPECT_THAT(report, HasSubstr("\n  Pointer: uinput\n"));
}

TEST_F(HelpReportTest, TellsOfTheUnitThatIsOpenAndNotWhichOneItIs) {
    EXPECT_THAT(helpReport(facts), HasSubstr("\nCamera unit\n  Unit: none\n"));
    openUnit({.points = {{812, 431}, {2103, 517}, {799, 1502}, {2230, 1611}}});
    setExposure(23);
    const std::string report = helpReport(facts);
    EXPECT_THAT(report, HasSubstr("\nCamera unit\n  Board version: 3.5\n  Sensor version: 1.2\n"
                                  "  Wireless: 1\n  Threshold: 512\n  Exposure: 23\n"
                                  "  Calibration points: "));
    for (const char* place : {"812", "2103", "1502", "2230"})
        EXPECT_THAT(report, Not(HasSubstr(place)));
}

TEST_F(HelpReportTest, TellsTheSettingsButForWhatTheProgramNotesThere) {
    desk.defaults.registered["Help Menu"] = true;
    desk.defaults.set["Projection Distance"] = std::int64_t{2};
    desk.defaults.set["Main Screen"] = std::string("HDMI-1");
    desk.defaults.set["Calibrated Screens"] = std::string("SN4711 {812, 431}");
    const std::string report = helpReport(facts);
    EXPECT_THAT(report, HasSubstr("\n  Help Menu: true\n"));
    EXPECT_THAT(report, HasSubstr("\n  Projection Distance: 2\n"));
    EXPECT_THAT(report, HasSubstr("\n  Main Screen: \"HDMI-1\"\n"));
    EXPECT_THAT(report, HasSubstr("\n  Debug Window: none\n"));
    EXPECT_THAT(report, Not(HasSubstr("4711")));
}

TEST_F(HelpReportTest, WithoutALogFileItSaysSo) {
    EXPECT_TRUE(helpReport(facts).ends_with("\n\nLog\n  File: none\n"));
}

TEST_F(HelpReportTest, EndsWithTheLastLinesOfBothFiles) {
    facts.logFile = folder.file("log");
    EXPECT_TRUE(helpReport(facts).ends_with("\n\nLog\n")) << "nothing has been written yet";
    std::string before;
    for (int i = 0; i < 300; ++i)
        before += "KVR n:628 calibrationStep : " + std::to_string(i) + "\nEvent n:1505 ( 812, 431)\n";
    writeFile(folder.file("log.1"), before);
    writeFile(folder.file("log"),
              "Files: " + QDir::homePath().toStdString() + "/x cannot be read: No such file\n");
    const std::string report = helpReport(facts);
    const std::string lines = report.substr(report.find("\nLog\n") + 5);
    EXPECT_EQ(std::ranges::count(lines, '\n'), 200);
    EXPECT_TRUE(lines.ends_with("\nKVR n:628 calibrationStep : 299\n(lines left out: 1)\n"
                                "Files: ~/x cannot be read: No such file\n"));
    EXPECT_THAT(report, Not(HasSubstr("812")));
}

TEST_F(HelpReportTest, AHomeFolderThatIsALinkIsNotNamedEither) {
    const QByteArray before = qgetenv("HOME");
    std::filesystem::create_directory(folder.file("ada"));
    std::filesystem::create_directory_symlink(folder.file("ada"), folder.file("link"));
    qputenv("HOME", QByteArray::fromStdString(folder.file("link")));
    facts.logFile = folder.file("log");
    writeFile(facts.logFile, "Files: " + std::filesystem::canonical(folder.file("ada")).string() + "/x and " +
                                 folder.file("link") + "/y cannot be read\n");
    EXPECT_TRUE(helpReport(facts).ends_with("\nLog\nFiles: ~/x and ~/y cannot be read\n"));
    qputenv("HOME", before);
}

} // namespace
} // namespace lightpen
