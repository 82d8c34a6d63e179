// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "kit/ChildProcess.h"
#include "kit/Xvfb.h"

namespace lightpen {

// An X server like Xvfb that can turn its only screen, called "default". Its screen is a window on an Xvfb of
// its own. Throws when it does not start.
class Xephyr {
public:
    // The screen as WIDTHxHEIGHT in pixels, at most 1280 either way.
    explicit Xephyr(const std::string& screen) {
        host_.enter();
        const std::string number = startAndReadLine(server_, {"Xephyr", "-displayfd", "%fd%", "-screen",
                                                              screen, "-nolisten", "tcp", "-noreset", "-ac"});
        if (number.empty())
            throw std::runtime_error("Xephyr did not start");
        display_ = ":" + number;
    }
    // Once its screen has been turned it cannot end by itself.
    ~Xephyr() { server_->kill(); }
    Xephyr(const Xephyr&) = delete;
    Xephyr& operator=(const Xephyr&) = delete;

    void enter() const { enterDisplay(display_); }

private:
    const Xvfb host_{"1280x1280"};
    std::unique_ptr<ChildProcess> server_;
    std::string display_;
};

} // namespace lightpen
