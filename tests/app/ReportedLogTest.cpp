// SPDX-License-Identifier: MIT
#include "app/ReportedLog.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

constexpr std::size_t kMany = 1'000'000;

std::string reported(const std::string& log, std::size_t most = kMany) {
    return reportedLog(log, most, {"/mnt/disk/ada", "/home/ada"});
}

TEST(ReportedLogTest, WhatTellsOfStartsUnitsAndResultsStays) {
    const std::string log = "Light n:87 LightPenNX7 StartUp setting found in system, updating APP path now.\n"
                            "Event n:1187 NX9Ver:0x35,wireless:0x1,cmosVer:0x12,GainValue:0x7,OPmode:0x0\n"
                            "KVR n:628 calibrationStep : 3\n"
                            "Pointer: events go through uinput\n"
                            "Run loop: nothing can wake it: Too many open files\n"
                            "HID: /dev/hidraw3 cannot be opened: No such device\n";
    EXPECT_EQ(reported(log), log);
}

TEST(ReportedLogTest, WhatTellsOfPlacesAndKeysIsCounted) {
    EXPECT_EQ(reported("Event n:647 device did add\n"
                       "Event n:1505 ( 812, 431)\n"
                       "Event n:1763 mappedPoint: {503.25, 307.5}, in Region: 3\n"
                       "Event n:666 device did removed\n"
                       "Event n:111 keyCode : (1 , 0 , 0 , 0)\n"),
              "Event n:647 device did add\n"
              "(lines left out: 2)\n"
              "Event n:666 device did removed\n"
              "(lines left out: 1)\n");
}

// A line of a number that nobody has thought of, the rest of a line with breaks, and text between lines.
TEST(ReportedLogTest, WhatIsNotKnownIsLeftOut) {
    for (const char* line :
         {"Event n:6470 {1, 2}", "Event n:64 {1, 2}", "Other n:647 {1, 2}", "byte2:1f, ", "48 49 4a", "",
          "(812, 431)", "pointer: 812", "A1: 812", "A part with far too long a name: 812", "Range error",
          ": 812", "Event n:647 48 Event n:1505 ( 812, 431)", "Screen: Event n:1505 ( 812, 431)"})
        EXPECT_EQ(reported(std::string(line) + "\n"), "(lines left out: 1)\n") << line;
}

TEST(ReportedLogTest, WhatLibrariesSayLosesItsNumbers) {
    EXPECT_EQ(reported("Qt: QMouseEvent(pos=812,431) failed 2.5 times\nWindow: at 12,7\n"),
              "Qt: QMouseEvent(pos=#,#) failed #.# times\nWindow: at #,#\n");
    EXPECT_EQ(reported("Range error in Center 0x7f12: at 5\n"), "Range error in Center #x#f#: at #\n");
}

TEST(ReportedLogTest, WhatTellsOfAWebcamStays) {
    const std::string log =
        "Webcam: /dev/video0 may not be opened by this user (the group \"video\" may)\n"
        "Webcam: there is no camera\n"
        "Camera: /dev/video2 sends 1280 x 720 MJPG at 60 a second\n"
        "Webcam: the unit of /dev/video2 is plugged in\n"
        "Camera: /dev/video2 has no exposure that can be set; where it is bright the pen may not be seen\n"
        "Camera: /dev/video2 has sent no whole picture for three seconds\n"
        "Webcam: the unit of /dev/video2 is unplugged\n";
    EXPECT_EQ(reported(log), log);
}

TEST(ReportedLogTest, ACamerasSerialNumberIsLeftOut) {
    EXPECT_EQ(
        reported("Camera: /home/ada/.local/share/LightPenNX7/camera-unit-046d_0825-ABC.7_x is damaged; the "
                 "camera has no calibration\n"),
        "Camera: ~/.local/share/LightPenNX7/camera-unit-# is damaged; the camera has no calibration\n");
    EXPECT_EQ(
        reported("Files: /x/camera-controls-046d_0825-ABC: not moved to /y/camera-controls-046d_0825-ABC"),
        "Files: /x/camera-controls-#: not moved to /y/camera-controls-#\n");
    for (const char* camera : {"/dev/v4l/by-id/usb-Maker_A:B_ABC-video-index0", "046d_0825-ABC", "Name ABC"})
        EXPECT_EQ(reported(std::string("Webcam: there is no camera ") + camera),
                  "Webcam: there is no camera #\n");
}

TEST(ReportedLogTest, TheHomeFolderHasNoName) {
    EXPECT_EQ(reported("Files: /home/ada/a to /home/ada/b cannot be read\n"),
              "Files: ~/a to ~/b cannot be read\n");
    EXPECT_EQ(reported("Application: /mnt/disk/ada/LightPenNX7 reads /home/ada/a\n"),
              "Application: ~/LightPenNX7 reads ~/a\n")
        << "by the place that a link leads to";
    EXPECT_EQ(reportedLog("Files: /home/ada/a\n", kMany, {""}), "Files: /home/ada/a\n");
    EXPECT_EQ(reportedLog("Files: ~~\n", kMany, {"~"}), "Files: ~~\n");
}

TEST(ReportedLogTest, TheLastLinesCountWithWhatStandsForOthers) {
    EXPECT_EQ(reported("Event n:903\nEvent n:914\n{1, 2}\n{3, 4}\nEvent n:666 device did removed\n", 3),
              "Event n:914\n(lines left out: 2)\nEvent n:666 device did removed\n");
    EXPECT_EQ(reported("Event n:903\n", 0), "");
    EXPECT_EQ(reported(""), "");
}

TEST(ReportedLogTest, ALastLineNeedsNoBreak) {
    EXPECT_EQ(reported("Event n:903\nEvent n:914"), "Event n:903\nEvent n:914\n");
    EXPECT_EQ(reported("Event n:903\n( 812, 431)"), "Event n:903\n(lines left out: 1)\n");
}

} // namespace
} // namespace lightpen
