// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace lightpen {

// Where sounds are heard. One thread at a time.
class SoundOutput {
public:
    virtual ~SoundOutput() = default;
    // Begins to play the file. It may take as long as a sound server takes to answer. False, and the reason,
    // when nothing will be heard.
    virtual bool play(const std::string& file, std::string& problem) = 0;
};

} // namespace lightpen
