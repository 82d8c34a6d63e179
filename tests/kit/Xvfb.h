// SPDX-License-Identifier: MIT
#pragma once

#include <signal.h>

#include <memory>
#include <string>

#include "kit/ChildProcess.h"

namespace lightpen {

// Makes this display that of the process and of those that it starts; before the application object is made.
void enterDisplay(const std::string& display);

// An X server of the test's own, on a free display, with a screen in memory. Throws when it does not start.
class Xvfb {
public:
    // The screen as WIDTHxHEIGHT in pixels. Further options are the server's own ("-extension XTEST").
    explicit Xvfb(const std::string& screen = "1024x768", const std::vector<std::string>& options = {});

    // The name that goes into DISPLAY, such as ":1".
    const std::string& display() const { return display_; }
    void enter() const { enterDisplay(display_); }
    // The server goes away, and every connection breaks. It is not killed: it takes its socket along itself.
    // By the time that anybody else would have removed it, the display may be another test's server's.
    void end();
    // The server stands still, its connections open, and then goes on.
    void standStill() { server_->send(SIGSTOP); }
    void goOn() { server_->send(SIGCONT); }

private:
    std::unique_ptr<ChildProcess> server_;
    std::string display_;
};

} // namespace lightpen
