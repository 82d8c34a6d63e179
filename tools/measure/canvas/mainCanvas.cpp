// SPDX-License-Identifier: MIT
// The canvas: a program of its own, so that it sees what the X server and the message bus deliver, and not
// what the driver believes. Its argument is the name of the screen that it covers. It writes one line for
// each event to standard output and reads commands, one a line, from standard input:
//   hand X Y       mark where the hand touched
//   save FILE      write a picture
//   quit           (or the end of input)
#include <cstdio>
#include <string>

#include <QApplication>

#include <unistd.h>

#include "emulated/CommandLines.h"
#include "measure/canvas/CanvasWindow.h"

namespace {

using lightpen::CanvasEvent;
using lightpen::CanvasWindow;

void report(const CanvasEvent& event) {
    std::puts(lightpen::lineFromCanvasEvent(event).c_str());
    std::fflush(stdout);
}

std::string perform(CanvasWindow& canvas, const QString& line) {
    const QString word = line.section(QLatin1Char(' '), 0, 0);
    const QString rest = line.section(QLatin1Char(' '), 1);
    if (word == QLatin1String("hand")) {
        canvas.markHand(QPointF(rest.section(QLatin1Char(' '), 0, 0).toDouble(),
                                rest.section(QLatin1Char(' '), 1, 1).toDouble()));
    } else if (word == QLatin1String("save")) {
        canvas.savePicture(rest);
    } else if (word == QLatin1String("quit")) {
        QApplication::quit();
    }
    return {}; // it has no answer to give
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    CanvasWindow canvas(report);
    for (const QString& name : lightpen::kSideNotifications)
        if (!canvas.listenFor(name))
            report({CanvasEvent::Kind::failed, {}, {}, "cannot listen on the session bus"});
    const lightpen::CommandLines commands(
        STDIN_FILENO, {[&](std::string_view line) {
                           return perform(canvas, QString::fromUtf8(line.data(), qsizetype(line.size())));
                       },
                       [](const std::string&) {}, [] { QApplication::quit(); }});
    canvas.coverScreen(argc > 1 ? argv[1] : "");
    return QApplication::exec();
}
