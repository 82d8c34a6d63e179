// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include <QIcon>

namespace lightpen {

// What the about panel shows; UTF-8. An empty text takes no room.
struct AboutPanelOptions {
    std::string copyright; // with its line breaks
    std::string version;
    std::string applicationName;
    QIcon applicationIcon;
    std::string button = {}; // what closes it; empty for Qt's own word
};

// Shows the application's about panel in front of the others, and returns at once. There is one: it takes the
// new texts when it is open already. The user closes it. Main thread.
void orderFrontStandardAboutPanel(const AboutPanelOptions& options);

} // namespace lightpen
