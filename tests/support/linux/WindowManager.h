// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "linux_desktop/XFullScreen.h"
#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/TemporaryDirectory.h"

namespace lightpen {

// A window manager on a test's X server. Throws when it does not start.
class WindowManager {
public:
    explicit WindowManager(const std::string& display) {
        program_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{"openbox", "--sm-disable"}, -1,
            std::map<std::string, std::string>{{"DISPLAY", display},
                                               {"HOME", home_.path()},
                                               {"XDG_CONFIG_HOME", home_.path()},
                                               {"XDG_CACHE_HOME", home_.path()},
                                               {"XDG_DATA_HOME", home_.path()}});
        const auto server = XFullScreen::connect(display.c_str());
        if (!server || !eventually([&] { return server->managed(); }))
            throw std::runtime_error("the window manager did not start");
    }
    void kill() { program_->kill(); }

private:
    const TemporaryDirectory home_;
    std::unique_ptr<ChildProcess> program_;
};

} // namespace lightpen
