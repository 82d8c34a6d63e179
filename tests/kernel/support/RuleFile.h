// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>

namespace lightpen {

// Waits until udev has worked off all events so far. Fails the test when it has not within 20 seconds.
void settleUdev();

// A udev rule that is in force for as long as this lives. Devices that are there already are not looked at
// again. The test must be root.
class RuleFile {
public:
    RuleFile(const std::string& name, const std::string& rules);
    ~RuleFile();
    RuleFile(const RuleFile&) = delete;
    RuleFile& operator=(const RuleFile&) = delete;

private:
    std::filesystem::path path_;
};

// The rule that this project installs, in force; the pointer device is looked at again at both ends.
class PackagedRule {
public:
    PackagedRule();
    ~PackagedRule();
    PackagedRule(const PackagedRule&) = delete;
    PackagedRule& operator=(const PackagedRule&) = delete;

private:
    RuleFile file_;
};

} // namespace lightpen
