// SPDX-License-Identifier: MIT
#include "linux_desktop/files/XdgDataFiles.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "linux_desktop/files/PlainFile.h"
#include "platform/FileDescriptor.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

// Something of this name is there, whatever it is and whether or not it may be read.
bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 || errno == EACCES;
}

} // namespace

XdgDataFiles::XdgDataFiles(std::string userFolder, std::string shippedFolder)
    : userFolder_(std::move(userFolder)), shippedFolder_(std::move(shippedFolder)) {}

std::optional<DataFilePaths> XdgDataFiles::locate(std::string_view name) const {
    const std::string own = userFolder_ + "/" + std::string(name);
    if (exists(own))
        return DataFilePaths{own, own};
    const std::string shipped = shippedFolder_ + "/" + std::string(name);
    if (!shippedFolder_.empty() && exists(shipped))
        return DataFilePaths{shipped, own};
    return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> XdgDataFiles::read(const std::string& path,
                                                            std::size_t limit) const {
    const auto bytes = readPlainFile(path, limit);
    if (bytes)
        return std::vector<std::uint8_t>(bytes->begin(), bytes->end());
    logLine("Files: %s cannot be read: %s", path.c_str(), errorText(errno).c_str());
    return std::nullopt;
}

bool XdgDataFiles::replace(const std::string& path, std::span<const std::uint8_t> bytes) const {
    return replacePlainFile(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

} // namespace lightpen
