// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>

namespace lightpen {

// Waits until udev has worked off all events so far. Throws when it has not within 20 seconds.
void settleUdev();

// A udev rule that is in force for as long as this lives. Devices that are there already are not looked at
// again. Needs root; throws when udev does not take the rule.
class RuleFile {
public:
    RuleFile(const std::string& name, const std::string& rules);
    ~RuleFile();
    RuleFile(const RuleFile&) = delete;
    RuleFile& operator=(const RuleFile&) = delete;

private:
    std::filesystem::path path_;
};

// The rules that this project installs, in force as their first lines say; the pointer device, which is there
// from the start, is looked at again, and has its first permissions back at the end.
class PackagedRule {
public:
    PackagedRule();
    ~PackagedRule();
    PackagedRule(const PackagedRule&) = delete;
    PackagedRule& operator=(const PackagedRule&) = delete;

private:
    RuleFile unit_;
    RuleFile pointer_;
};

} // namespace lightpen
