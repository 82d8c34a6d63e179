// SPDX-License-Identifier: MIT
#include "webcam/camera/NodeWatch.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "platform/Log.h"

namespace lightpen::webcam {

namespace {

using std::chrono::steady_clock;

// What udev does to a node's permissions comes behind its creation.
constexpr std::uint32_t kChanges = IN_CREATE | IN_DELETE | IN_MOVED_TO | IN_ATTRIB;
// How often those look who cannot be told.
constexpr Microseconds kWithoutWatch{2'000'000};

FileDescriptor watchOf(const std::string& folder) {
    FileDescriptor changes(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (changes && ::inotify_add_watch(changes.get(), folder.c_str(), kChanges | IN_ONLYDIR) >= 0)
        return changes;
    logLine("Camera: %s cannot be watched: %s", folder.c_str(), errorText(errno).c_str());
    return {};
}

// Whether any of these changes is a video node's. The kernel writes them whole.
bool concernsVideo(const char* bytes, std::size_t size) {
    bool any = false;
    for (std::size_t at = 0; at + sizeof(inotify_event) <= size;) {
        inotify_event event{};
        std::memcpy(&event, bytes + at, sizeof event);
        at += sizeof event;
        const std::string_view name(bytes + at, std::min(std::size_t{event.len}, size - at));
        // Changes that were too many to be told may have been any.
        any = any || name.starts_with("video") || (event.mask & (IN_Q_OVERFLOW | IN_IGNORED));
        at += event.len;
    }
    return any;
}

} // namespace

NodeWatch::NodeWatch(const std::string& folder)
    : changes_(watchOf(folder)), wakes_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

bool NodeWatch::takeChanges() {
    bool any = false;
    alignas(inotify_event) std::array<char, 4096> bytes{};
    while (changes_) {
        const ssize_t count =
            retryInterrupted([&] { return ::read(changes_.get(), bytes.data(), bytes.size()); });
        if (count <= 0)
            break;
        any = concernsVideo(bytes.data(), static_cast<std::size_t>(count)) || any;
    }
    return any;
}

bool NodeWatch::takeWake() {
    std::uint64_t count = 0;
    return retryInterrupted([&] { return ::read(wakes_.get(), &count, sizeof count); }) ==
           ssize_t{sizeof count};
}

void NodeWatch::wake() {
    const std::uint64_t one = 1;
    // It can only fail where there are wakes enough.
    [[maybe_unused]] const ssize_t written =
        retryInterrupted([&] { return ::write(wakes_.get(), &one, sizeof one); });
}

NodeWatch::Woken NodeWatch::wait(std::optional<Microseconds> timeout) {
    if (!changes_)
        timeout = std::min(timeout.value_or(kWithoutWatch), kWithoutWatch);
    const auto end = steady_clock::now() + timeout.value_or(Microseconds(0));
    for (;;) {
        std::array<pollfd, 2> polled{{{wakes_.get(), POLLIN, 0}, {changes_.get(), POLLIN, 0}}};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
        const int milliseconds =
            timeout ? static_cast<int>(std::max(left.count(), decltype(left)::rep{0})) : -1;
        const int count = ::poll(polled.data(), polled.size(), milliseconds);
        if (takeWake())
            return Woken::byHand;
        if (takeChanges())
            return Woken::nodes;
        if (count == 0 || (timeout && steady_clock::now() >= end))
            return changes_ ? Woken::timeOut : Woken::nodes;
    }
}

} // namespace lightpen::webcam
