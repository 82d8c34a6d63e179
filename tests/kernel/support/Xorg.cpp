// SPDX-License-Identifier: MIT
#include "kernel/support/Xorg.h"

#include <stdexcept>

#include "kit/Eventually.h"

namespace lightpen {

namespace {

// It shares the terminal that the guest has none of, and lets everybody in: nobody else is there.
std::vector<std::string> commandWith(const std::string& logFile) {
    return {"Xorg",      "-displayfd", "%fd%",      "-config",     LIGHTPEN_XORG_CONFIG,
            "-logfile",  logFile,      "-sharevts", "-novtswitch", "-noreset",
            "-nolisten", "tcp",        "-ac"};
}

} // namespace

Xorg::Xorg() {
    const std::string number = startAndReadLine(server_, commandWith(folder_.file("log")));
    if (number.empty())
        throw std::runtime_error("Xorg did not start. Its log:\n" + log());
    display_ = ":" + number;
}

std::string Xorg::log() const {
    return readFile(folder_.file("log"));
}

std::size_t Xorg::timesAdded(const std::string& device) const {
    const std::string text = log();
    const std::string line = "XINPUT: Adding extended input device \"" + device + "\"";
    std::size_t count = 0;
    for (std::size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + line.size()))
        ++count;
    return count;
}

bool Xorg::awaitAdded(const std::string& device, std::size_t before) const {
    return eventually([&] { return timesAdded(device) > before; });
}

} // namespace lightpen
