// SPDX-License-Identifier: MIT
#include "kit/Xvfb.h"

#include <cstdlib>
#include <stdexcept>

namespace lightpen {

Xvfb::Xvfb(const std::string& screen, const std::vector<std::string>& options) {
    std::vector<std::string> command{"Xvfb",         "-displayfd", "%fd%", "-screen", "0",
                                     screen + "x24", "-nolisten",  "tcp",  "-noreset"};
    command.insert(command.end(), options.begin(), options.end());
    const std::string number = startAndReadLine(server_, command);
    if (number.empty())
        throw std::runtime_error("Xvfb did not start");
    display_ = ":" + number;
}

void Xvfb::end() {
    server_.reset();
}

void enterDisplay(const std::string& display) {
    setenv("DISPLAY", display.c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    unsetenv("WAYLAND_DISPLAY");
    unsetenv("XDG_SESSION_TYPE");
}

} // namespace lightpen
