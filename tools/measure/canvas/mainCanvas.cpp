// SPDX-License-Identifier: MIT
// The canvas: a program of its own, so that it sees what the X server and the message bus deliver, and not
// what the driver believes. It writes one line for each event to standard output and reads commands, one a
// line, from standard input:
//   hand X Y       mark where the hand touched
//   caption TEXT   the text at the lower right
//   save FILE      write a picture
//   quit           (or the end of input)
#include <cstdio>
#include <string>

#include <QApplication>
#include <QSocketNotifier>

#include <unistd.h>

#include "measure/canvas/CanvasWindow.h"

namespace {

using lightpen::CanvasEvent;
using lightpen::CanvasWindow;

void report(const CanvasEvent& event) {
    std::puts(lightpen::lineFromCanvasEvent(event).c_str());
    std::fflush(stdout);
}

void perform(CanvasWindow& canvas, const QString& line) {
    const QString word = line.section(QLatin1Char(' '), 0, 0);
    const QString rest = line.section(QLatin1Char(' '), 1);
    if (word == QLatin1String("hand")) {
        canvas.markHand(QPointF(rest.section(QLatin1Char(' '), 0, 0).toDouble(),
                                rest.section(QLatin1Char(' '), 1, 1).toDouble()));
    } else if (word == QLatin1String("caption")) {
        canvas.setCaption(rest);
    } else if (word == QLatin1String("save")) {
        canvas.savePicture(rest);
    } else if (word == QLatin1String("quit")) {
        QApplication::quit();
    }
}

// Performs the whole lines of what can be read now; false at the end of input.
bool readCommands(CanvasWindow& canvas, std::string& pending) {
    char buffer[512];
    const ssize_t length = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (length < 0)
        return true; // interrupted; the notifier calls again
    if (length == 0)
        return false;
    pending.append(buffer, static_cast<std::size_t>(length));
    for (std::size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
        perform(canvas, QString::fromStdString(pending.substr(0, end)));
        pending.erase(0, end + 1);
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    CanvasWindow canvas(report);
    for (const QString& name : lightpen::kSideNotifications)
        if (!canvas.listenFor(name))
            report({CanvasEvent::Kind::failed, {}, {}, "cannot listen on the session bus"});
    std::string pending;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &canvas, [&] {
        if (!readCommands(canvas, pending))
            QApplication::quit();
    });
    canvas.coverScreen();
    return QApplication::exec();
}
