// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <QProcess>

#include "measure/CanvasEvent.h"
#include "platform/RunLoop.h"

namespace lightpen {

// The canvas program: started, listened to, given commands. Main thread.
class CanvasProcess {
public:
    // Starts nothing yet. The loop outlives this.
    explicit CanvasProcess(RunLoop& runLoop);
    // Ends the program.
    ~CanvasProcess();
    CanvasProcess(const CanvasProcess&) = delete;
    CanvasProcess& operator=(const CanvasProcess&) = delete;

    // Starts the program and waits until it is on the screen of that name, or on the primary one for an empty
    // name. Returns what went wrong, empty when nothing did.
    std::string start(const std::string& program, const std::string& screen = "");
    // The canvas' size in points; after start.
    Size size() const { return size_; }
    // Gives it a command; see mainCanvas.cpp.
    void command(const std::string& line);
    // Runs the loop until an event of this kind has come; false when it has not within the patience.
    bool waitFor(CanvasEvent::Kind kind, Microseconds patience);
    // All that it has told, in order.
    const std::vector<CanvasEvent>& events() const { return events_; }

private:
    void read();

    RunLoop& runLoop_;
    QProcess process_;
    Size size_;
    std::vector<CanvasEvent> events_;
};

} // namespace lightpen
