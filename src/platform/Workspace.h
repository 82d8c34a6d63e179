// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace lightpen {

// Hands things to the user's other applications. Main thread.
class Workspace {
public:
    virtual ~Workspace() = default;
    // Opens the file with the application that the user has for its kind; returns at once. False (and a log
    // line) when there is none.
    virtual bool openFile(const std::string& path) = 0;
};

} // namespace lightpen
