// SPDX-License-Identifier: MIT
#include "linux_desktop/process/QtWorkspace.h"

#include <QDesktopServices>
#include <QString>
#include <QUrl>

#include "platform/Log.h"

namespace lightpen {

bool QtWorkspace::openFile(const std::string& path) {
    if (QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(path))))
        return true;
    logLine("Workspace: no application opens %s", path.c_str());
    return false;
}

} // namespace lightpen
