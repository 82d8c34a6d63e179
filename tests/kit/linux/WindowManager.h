// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "kit/ChildProcess.h"
#include "kit/Eventually.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {

// A window manager on a test's X server. Throws when it does not start.
class WindowManager {
public:
    explicit WindowManager(const std::string& display) {
        const std::string ready = home_.file("ready");
        program_ = std::make_unique<ChildProcess>(
            // It is told to say so itself: it calls itself there before it looks after windows.
            std::vector<std::string>{"openbox", "--sm-disable", "--startup", "touch " + ready}, -1,
            std::map<std::string, std::string>{{"DISPLAY", display},
                                               {"HOME", home_.path()},
                                               {"XDG_CONFIG_HOME", home_.path()},
                                               {"XDG_CACHE_HOME", home_.path()},
                                               {"XDG_DATA_HOME", home_.path()}});
        if (!eventually([&] { return std::filesystem::exists(ready); }))
            throw std::runtime_error("the window manager did not start");
    }
    void kill() { program_->kill(); }

private:
    const TemporaryDirectory home_;
    std::unique_ptr<ChildProcess> program_;
};

} // namespace lightpen
