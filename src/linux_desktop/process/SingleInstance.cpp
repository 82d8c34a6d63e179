// SPDX-License-Identifier: MIT
#include "linux_desktop/process/SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>

#include <array>
#include <cerrno>
#include <charconv>

#include "platform/Log.h"

namespace lightpen {

namespace {

constexpr mode_t kOwnerOnly = 0600;

// The number of the process that holds the lock; 0 while it has not written one yet.
int holderIn(const FileDescriptor& file) {
    std::array<char, 16> text{};
    const ssize_t length = retryInterrupted([&] { return ::pread(file.get(), text.data(), text.size(), 0); });
    int process = 0;
    if (length > 0)
        std::from_chars(text.data(), text.data() + length, process);
    return process > 0 ? process : 0;
}

bool writeHolder(const FileDescriptor& file) {
    const std::string text = std::to_string(::getpid()) + '\n';
    return retryInterrupted([&] { return ::ftruncate(file.get(), 0); }) == 0 &&
           retryInterrupted([&] { return ::pwrite(file.get(), text.data(), text.size(), 0); }) ==
               static_cast<ssize_t>(text.size());
}

} // namespace

SingleInstance::SingleInstance(const std::string& name, const std::string& folder) {
    if (!folder.starts_with('/')) // unset; another path would mean a folder that changes with the caller's
        return;
    const std::string path = folder + '/' + name + ".lock";
    lock_ = FileDescriptor(retryInterrupted(
        [&] { return ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kOwnerOnly); }));
    const bool locked =
        lock_ && retryInterrupted([&] { return ::flock(lock_.get(), LOCK_EX | LOCK_NB); }) == 0;
    runsAlready_ = lock_ && !locked && errno == EWOULDBLOCK;
    if (locked && !writeHolder(lock_))
        logLine("%s: %s does not say which process this is: %s", name.c_str(), path.c_str(),
                errorText(errno).c_str());
    if (locked)
        return;
    if (!runsAlready_)
        logLine("%s: %s is no lock: %s", name.c_str(), path.c_str(), errorText(errno).c_str());
    else if (const int holder = holderIn(lock_))
        logLine("%s runs already (process %d); this one ends.", name.c_str(), holder);
    else
        logLine("%s runs already; this one ends.", name.c_str());
}

} // namespace lightpen
