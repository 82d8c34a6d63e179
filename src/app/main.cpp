// SPDX-License-Identifier: MIT
// The driver program: puts the Linux platform together, starts the controller and runs the main loop.
#include <QApplication>

#include "app/LightPenNX7Controller.h"
#include "linux_desktop/LinuxPlatform.h"
#include "linux_desktop/QtApplicationSetup.h"

int main(int argc, char** argv) {
    lightpen::setUpQtMessages();
    const QApplication application(argc, argv);
    lightpen::setUpQtApplication();
    lightpen::LinuxPlatform linuxPlatform;
    lightpen::Platform::setCurrent(&linuxPlatform.platform());

    const auto controller = std::make_shared<lightpen::LightPenNX7Controller>();
    controller->awakeFromNib();
    // Without destructors: the driver's threads may still run.
    linuxPlatform.platform().runLoop.exitProcess(linuxPlatform.run());
}
