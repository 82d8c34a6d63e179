// SPDX-License-Identifier: MIT
#include "kernel/support/RuleFile.h"

#include <stdexcept>
#include <vector>

#include "kit/ChildProcess.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {

namespace {

constexpr const char* kUnitRules = "70-lightpen-nx7.rules";
constexpr const char* kPointerRules = "70-lightpen-nx7-uinput.rules";

std::string packaged(const std::string& name) {
    return readFile(std::filesystem::path(LIGHTPEN_UDEV_RULES) / name);
}

void tellUdev(std::vector<std::string> words) {
    words.insert(words.begin(), "udevadm");
    if (runProgram(words) != 0)
        throw std::runtime_error("udev refuses: udevadm " + words.at(1));
}

} // namespace

void settleUdev() {
    tellUdev({"settle", "--timeout=20"});
}

RuleFile::RuleFile(const std::string& name, const std::string& rules)
    : path_(std::filesystem::path("/etc/udev/rules.d") / name) {
    writeFile(path_, rules);
    if (readFile(path_) != rules)
        throw std::runtime_error(path_.string() + " cannot be written");
    tellUdev({"control", "--reload"});
}

RuleFile::~RuleFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
    runProgram({"udevadm", "control", "--reload"});
}

PackagedRule::PackagedRule()
    : unit_(kUnitRules, packaged(kUnitRules)), pointer_(kPointerRules, packaged(kPointerRules)) {
    tellUdev({"trigger", "--action=add", "/sys/devices/virtual/misc/uinput"});
    settleUdev();
}

PackagedRule::~PackagedRule() {
    std::error_code ignored;
    std::filesystem::permissions("/dev/uinput", std::filesystem::perms(0600), ignored);
}

} // namespace lightpen
