// SPDX-License-Identifier: MIT
#include "kernel/gadget/GadgetFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>

namespace lightpen {

namespace {

int errorOf(int result) {
    return result < 0 ? errno : 0;
}

} // namespace

int MachineGadgetFiles::makeFolder(const std::string& path) {
    return errorOf(::mkdir(path.c_str(), 0755));
}

int MachineGadgetFiles::removeFolder(const std::string& path) {
    return errorOf(::rmdir(path.c_str()));
}

int MachineGadgetFiles::makeLink(const std::string& target, const std::string& path) {
    return errorOf(::symlink(target.c_str(), path.c_str()));
}

int MachineGadgetFiles::removeLink(const std::string& path) {
    return errorOf(::unlink(path.c_str()));
}

int MachineGadgetFiles::write(const std::string& path, std::string_view content) {
    const FileDescriptor file(
        retryInterrupted([&] { return ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC); }));
    if (!file)
        return errno;
    const auto written =
        retryInterrupted([&] { return ::write(file.get(), content.data(), content.size()); });
    if (written < 0)
        return errno;
    return written == static_cast<ssize_t>(content.size()) ? 0 : EIO;
}

int MachineGadgetFiles::read(const std::string& path, std::string& content) {
    const FileDescriptor file(retryInterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!file)
        return errno;
    content.clear();
    std::array<char, 4096> buffer{};
    for (;;) {
        const auto got = retryInterrupted([&] { return ::read(file.get(), buffer.data(), buffer.size()); });
        if (got < 0)
            return errno;
        if (got == 0)
            return 0;
        content.append(buffer.data(), static_cast<std::size_t>(got));
    }
}

std::vector<std::string> MachineGadgetFiles::list(const std::string& path) {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error))
        names.push_back(entry->path().filename().string());
    return names;
}

int MachineGadgetFiles::openNode(const std::string& path, FileDescriptor& node) {
    FileDescriptor opened(
        retryInterrupted([&] { return ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC); }));
    if (!opened)
        return errno;
    node = std::move(opened);
    return 0;
}

} // namespace lightpen
