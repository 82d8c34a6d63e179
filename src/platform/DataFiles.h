// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lightpen {

// Where a data file is read and where it is written: not the same as long as the user has no copy of it.
struct DataFilePaths {
    std::string toRead;
    std::string toWrite;
};

// The few files of the application that it also writes. The user's copy goes before the one that came with
// the application, which is never written. Any thread.
class DataFiles {
public:
    virtual ~DataFiles() = default;
    // None when the user has no file of this name and none came with the application.
    virtual std::optional<DataFilePaths> locate(std::string_view name) const = 0;
    // The file's first bytes, at most this many; none (and a log line) when it cannot be read.
    virtual std::optional<std::vector<std::uint8_t>> read(const std::string& path,
                                                          std::size_t limit) const = 0;
    // Makes these bytes the file's contents, durably and in one step: whatever happens, the file is the old
    // one or the new one. False (and a log line) when it stays the old one, also when that may not be
    // written.
    virtual bool replace(const std::string& path, std::span<const std::uint8_t> bytes) const = 0;
};

} // namespace lightpen
