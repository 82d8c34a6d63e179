// SPDX-License-Identifier: MIT
// The driver program: puts the Linux platform together and hands over to the application.
#include <QApplication>

#include "app/ApplicationMain.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/process/QtApplicationSetup.h"
#include "linux_desktop/process/SingleInstance.h"

int main(int argc, char** argv) {
    const lightpen::SingleInstance instance("LightPenNX7");
    if (instance.runsAlready())
        return 0;
    lightpen::setUpQtMessages();
    const QApplication application(argc, argv);
    lightpen::setUpQtApplication();
    lightpen::LinuxPlatform linuxPlatform;
    lightpen::Platform::setCurrent(&linuxPlatform.platform());
    lightpen::applicationMain([&linuxPlatform] { return linuxPlatform.run(); });
}
