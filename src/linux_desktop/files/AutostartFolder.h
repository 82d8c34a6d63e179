// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "linux_desktop/files/DesktopEntry.h"

namespace lightpen {

// The files of a folder of desktop entries. Links, folders, pipes, files that are too large for an entry or
// are none are as good as not there, and stay. Main thread.
class AutostartFolder {
public:
    // An entry and the name of its file, without the folder.
    struct File {
        std::string name;
        DesktopEntry entry;
    };

    // The folder need not be there.
    explicit AutostartFolder(std::string path) : path_(std::move(path)) {}

    // The entries in the order of their files' names; an empty list when there is no folder. None (with errno
    // set) when the folder cannot be read.
    std::optional<std::vector<File>> files() const;
    // The entry in the file of this name; none when there is no such entry.
    std::optional<DesktopEntry> read(const std::string& name) const;
    // Puts the entry into the file in one step, and makes the folder if need be. False (and a log line) when
    // that fails; the old file is then whole.
    bool write(const std::string& name, const DesktopEntry& entry) const;
    // False (and a log line) when the file is still there.
    bool remove(const std::string& name) const;
    // A name that nothing in the folder has: the stem, or it and a number; empty when there is none.
    std::string freeName(const std::string& stem) const;

    const std::string& path() const { return path_; }

private:
    std::string file(const std::string& name) const { return path_ + '/' + name; }

    const std::string path_;
};

} // namespace lightpen
