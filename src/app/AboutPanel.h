// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <QIcon>

namespace lightpen {

// What the about panel shows; UTF-8. An empty text takes no room.
struct AboutPanelOptions {
    std::string copyright; // with its line breaks
    std::string applicationName;
    QIcon applicationIcon;
    std::string button = {}; // closes the panel; an empty text leaves Qt's own
};

// Shows the application's one about panel in front of the other windows, and returns at once. An open panel
// takes the new texts. The user closes it. Main thread.
void orderFrontStandardAboutPanel(const AboutPanelOptions& options);

// The panel's lines on a unit's versions. Each version is a byte: the high four bits stand before the point,
// the low four behind it. A wireless flag of exactly 1 shows the board's line alone.
std::string versionText(int wireless, int boardVersion, int cmosVersion);

} // namespace lightpen
