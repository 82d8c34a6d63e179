// SPDX-License-Identifier: MIT
#include "measure/CanvasProcess.h"

#include <algorithm>

namespace lightpen {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr Microseconds kStartPatience = seconds(15);
constexpr milliseconds kEndPatience{2000};
constexpr Microseconds kSlice = milliseconds(20);

} // namespace

CanvasProcess::CanvasProcess(RunLoop& runLoop) : runLoop_(runLoop) {
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QObject::connect(&process_, &QProcess::readyReadStandardOutput, &process_, [this] { read(); });
}

CanvasProcess::~CanvasProcess() {
    if (process_.state() == QProcess::NotRunning)
        return;
    process_.closeWriteChannel(); // the end of its input ends it
    if (!process_.waitForFinished(kEndPatience.count())) {
        process_.kill();
        process_.waitForFinished(kEndPatience.count());
    }
}

std::string CanvasProcess::start(const std::string& program, const std::string& screen) {
    process_.start(QString::fromStdString(program), {QString::fromStdString(screen)});
    if (!process_.waitForStarted())
        return "The canvas cannot be started: " + process_.errorString().toStdString();
    if (!waitFor(CanvasEvent::Kind::ready, kStartPatience))
        return "The canvas did not appear on the screen.";
    for (const CanvasEvent& event : events_) {
        if (event.kind == CanvasEvent::Kind::failed)
            return "The canvas: " + event.text + ".";
        if (event.kind == CanvasEvent::Kind::ready)
            size_ = {event.position.x, event.position.y};
    }
    return {};
}

void CanvasProcess::command(const std::string& line) {
    process_.write((line + "\n").c_str());
}

bool CanvasProcess::waitFor(CanvasEvent::Kind kind, Microseconds patience) {
    const auto come = [&] {
        return std::any_of(events_.begin(), events_.end(),
                           [&](const CanvasEvent& event) { return event.kind == kind; });
    };
    for (Microseconds waited{}; !come() && waited < patience; waited += kSlice)
        runLoop_.runFor(kSlice);
    return come();
}

void CanvasProcess::read() {
    while (process_.canReadLine())
        if (const auto event = canvasEventFromLine(process_.readLine().chopped(1).toStdString()))
            events_.push_back(*event);
}

} // namespace lightpen
