// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <stdexcept>

#include "support/ChildProcess.h"

namespace lightpen {

// Installs the packaged udev rule as its first lines say, and has udev apply it to what is there already: the
// pointer device, and units that are plugged in. Needs root; for the guest. Throws when udev refuses.
inline void installPackagedRule() {
    namespace fs = std::filesystem;
    const fs::path rules = LIGHTPEN_UDEV_RULES;
    fs::create_directories("/etc/udev/rules.d");
    fs::copy_file(rules, fs::path("/etc/udev/rules.d") / rules.filename(),
                  fs::copy_options::overwrite_existing);
    if (runProgram({"udevadm", "control", "--reload"}) != 0 ||
        runProgram({"udevadm", "trigger", "--action=add", "--subsystem-match=misc",
                    "--subsystem-match=hidraw"}) != 0 ||
        runProgram({"udevadm", "settle"}) != 0)
        throw std::runtime_error("udev does not take the packaged rule");
}

} // namespace lightpen
