// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/DataFiles.h"

namespace lightpen::webcam {

// A camera's control and what it was set to.
struct ControlValue {
    std::uint32_t control = 0; // the kernel's number for it
    std::int32_t value = 0;
    bool operator==(const ControlValue&) const = default;
};

// Remembers what a camera's controls were before the program changed them, in a small file for each camera. A
// program that is killed leaves the file, and the next one puts the controls back. One thread.
class ControlsFile {
public:
    // Keeps both; the folder is where the application writes its files.
    ControlsFile(const DataFiles& files, std::string folder);

    // What is left of a program that did not put back, in the order in which it was changed; empty when there
    // is nothing, or (and a log line) when the file is damaged, which then goes.
    std::vector<ControlValue> left(std::string_view identity) const;
    // Makes these the values to be put back, in one step. False (and a log line) when they cannot be kept.
    bool keep(std::string_view identity, const std::vector<ControlValue>& values) const;
    // There is nothing to be put back any more.
    void forget(std::string_view identity) const;

private:
    std::string pathFor(std::string_view identity) const;

    const DataFiles& files_;
    const std::string folder_;
};

// The file's text, and what it says; empty when the text is not one of ours.
std::string textOfControls(const std::vector<ControlValue>& values);
std::vector<ControlValue> controlsOfText(std::string_view text);

} // namespace lightpen::webcam
