// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace lightpen {

// A busy machine while it lives: for each processor two programs that compute without a pause, and one that
// writes to the disk and waits for it. They end with this process, however that ends.
class Load {
public:
    // The writers' files are made in this folder; each is removed at once and grows to 64 MB at most. Throws
    // when a process cannot be started.
    explicit Load(const std::string& folder);
    ~Load();
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

private:
    std::vector<pid_t> processes_;
};

} // namespace lightpen
