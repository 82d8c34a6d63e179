// SPDX-License-Identifier: MIT
#include "kit/device/OffscreenApplication.h"

#include <cstdlib>

#include <QApplication>
#include <QEvent>

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
    // Nor is a window that was to be deleted later: its plug-in's statics have gone by then.
    static const bool keeps =
        std::atexit([] { QCoreApplication::removePostedEvents(nullptr, QEvent::DeferredDelete); }) == 0;
    return offscreen && application && keeps;
}

} // namespace lightpen
