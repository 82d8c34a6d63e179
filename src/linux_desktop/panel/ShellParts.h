// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "linux_desktop/files/ApplicationBundle.h"
#include "linux_desktop/files/XdgLoginItems.h"
#include "linux_desktop/panel/DesktopNotices.h"
#include "linux_desktop/panel/TrayStatusBar.h"
#include "linux_desktop/process/LinuxLocales.h"
#include "linux_desktop/process/QtWorkspace.h"
#include "platform/ApplicationShell.h"

namespace lightpen {

// What only the application itself asks of its desktop, in the order in which it is made. Main thread.
struct ShellParts {
    // The centre and the access outlive them.
    ShellParts(NotificationCenter& notifications, const UnitAccess& unitAccess,
               std::filesystem::path applicationFolder, std::string program, std::string loginFolder,
               std::vector<std::string> systemLoginFolders)
        : locales(notifications), bundle(
                                      std::move(applicationFolder),
                                      [this] { return locales.preferredLanguages(); }, std::move(program)),
          loginItems(std::move(loginFolder), std::move(systemLoginFolders)), shell{bundle,     locales,
                                                                                   loginItems, statusBar,
                                                                                   workspace,  notices,
                                                                                   unitAccess} {}

    LinuxLocales locales;
    ApplicationBundle bundle;
    XdgLoginItems loginItems;
    TrayStatusBar statusBar;
    QtWorkspace workspace;
    DesktopNotices notices;
    ApplicationShell shell;
};

} // namespace lightpen
