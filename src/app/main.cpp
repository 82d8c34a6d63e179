// SPDX-License-Identifier: MIT
// The driver program: puts the Linux platform together and hands over to the application.
#include <QApplication>

#include "app/ApplicationMain.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/QtApplicationSetup.h"

int main(int argc, char** argv) {
    lightpen::setUpQtMessages();
    const QApplication application(argc, argv);
    lightpen::setUpQtApplication();
    lightpen::LinuxPlatform linuxPlatform;
    lightpen::Platform::setCurrent(&linuxPlatform.platform());
    lightpen::applicationMain([&linuxPlatform] { return linuxPlatform.run(); });
}
