// SPDX-License-Identifier: MIT
#include "support/calibration/OffscreenApplication.h"

#include <QApplication>

namespace lightpen {

bool ensureOffscreenApplication() {
    static int argc = 1;
    static char name[] = "test";
    static char* argv[] = {name, nullptr};
    static const bool offscreen = qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QApplication application(argc, argv);
    return offscreen;
}

} // namespace lightpen
