// SPDX-License-Identifier: MIT
#include "linux_desktop/process/QtApplicationSetup.h"

#include <clocale>
#include <cstdlib>

#include <QGuiApplication>
#include <QString>

#include "platform/Log.h"

namespace lightpen {

namespace {

// Qt would write to stderr itself, which stops the caller when nobody reads there.
void logQtMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
    logLine("Qt: %s", message.toLocal8Bit().constData());
    if (type == QtFatalMsg)
        std::exit(EXIT_FAILURE); // NOLINT(concurrency-mt-unsafe): the platform takes over and leaves in order
}

} // namespace

void setUpQtMessages() {
    qInstallMessageHandler(logQtMessage);
}

void setUpQtApplication() {
    QGuiApplication::setQuitOnLastWindowClosed(false);
    // Qt takes over the user's locale, in which "%.2f" may print a comma.
    std::setlocale(LC_NUMERIC, "C"); // NOLINT(concurrency-mt-unsafe): before there are threads
}

} // namespace lightpen
