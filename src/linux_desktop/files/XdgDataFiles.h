// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "platform/DataFiles.h"

namespace lightpen {

// Data files in two folders: one of the user's, made when something is first written, and one that came with
// the program and is only read. Any thread.
class XdgDataFiles final : public DataFiles {
public:
    // Neither folder need be there.
    XdgDataFiles(std::string userFolder, std::string shippedFolder);

    std::optional<DataFilePaths> locate(std::string_view name) const override;
    std::optional<std::vector<std::uint8_t>> read(const std::string& path, std::size_t limit) const override;
    bool replace(const std::string& path, std::span<const std::uint8_t> bytes) const override;

private:
    const std::string userFolder_;
    const std::string shippedFolder_;
};

} // namespace lightpen
