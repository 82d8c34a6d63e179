// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <QJsonDocument>
#include <QRect>

#include "kit/ChildProcess.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {

// A window as the compositor has it. Its place is in points of the layout, without borders.
struct SwayWindow {
    std::string title;
    QRect place;
    bool floating = false;
    bool fullScreen = false;
    bool focused = false;
};

// A Wayland compositor whose outputs are windows on a test's X server, called X11-1, X11-2 and so on in the
// order in which they come. A window's pixels are its output's, in the monitor's own orientation. The X
// server's pointer and keyboard are the compositor's, and reach the output below the pointer. Each window
// stands where its output stands in the layout: where nothing is scaled or turned, a pixel of the X server is
// a point of the layout. Nothing else may be shown on that server, and it has no window manager. One thread
// at a time.
class Sway {
public:
    // Whether there is an ordinary user to be: it refuses to be root's.
    static bool canRun();
    // With so many outputs at first; the configuration's lines may name later ones, too. It needs the
    // application object of a test that has one. Throws when the compositor does not start.
    Sway(const std::string& display, int outputs, const std::string& configuration);
    ~Sway();
    Sway(const Sway&) = delete;
    Sway& operator=(const Sway&) = delete;

    // Makes it the compositor of the programs that are started from now on; they use Wayland.
    void enter() const;
    // Has it perform a command of its own, as "output X11-1 scale 2", and the windows of its outputs stand
    // where they belong; whether it could.
    bool perform(const std::string& command);
    // One more output comes, and one leaves as a plug is pulled. Whether it did.
    bool addOutput();
    bool removeOutput(const std::string& name);
    // Where an output stands in the layout, in points; empty for one that is not there.
    QRect area(const std::string& output) const;
    // The windows of a program that are on some output now.
    std::vector<SwayWindow> windows(std::uint32_t processId) const;

private:
    class Display;

    QJsonDocument ask(const std::vector<std::string>& words) const;
    std::vector<std::string> outputs() const;
    bool settles(std::size_t outputs);

    const TemporaryDirectory folder_;
    const std::string socket_;
    const std::unique_ptr<Display> display_;
    std::unique_ptr<ChildProcess> compositor_;
};

} // namespace lightpen
