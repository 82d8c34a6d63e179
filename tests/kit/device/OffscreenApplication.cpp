// SPDX-License-Identifier: MIT
#include "kit/device/OffscreenApplication.h"

#include <QApplication>

namespace lightpen {

bool ensureOffscreenApplication() {
    if (QCoreApplication::instance())
        return true;
    static int argc = 1;
    static char name[] = "test";
    static char* argv[] = {name, nullptr};
    static const bool offscreen = qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never destroyed: Qt takes its own statics down before those of the test.
    static const auto* const application = new QApplication(argc, argv);
    return offscreen && application;
}

} // namespace lightpen
