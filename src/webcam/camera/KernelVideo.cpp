// SPDX-License-Identifier: MIT
#include "webcam/camera/KernelVideo.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

#include "platform/FileDescriptor.h"

namespace lightpen::webcam {

namespace {

using std::chrono::steady_clock;

timespec durationOf(Microseconds duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    return {seconds.count(), std::chrono::nanoseconds(duration - seconds).count()};
}

class KernelDevice final : public VideoDevice {
public:
    explicit KernelDevice(FileDescriptor file) : file_(std::move(file)) {}

    int request(unsigned long code, void* argument) override {
        return retryInterrupted([&] { return ::ioctl(file_.get(), code, argument); }) == -1 ? errno : 0;
    }

    std::span<const std::uint8_t> map(std::size_t length, std::uint32_t offset) override {
        void* const bytes = ::mmap(nullptr, length, PROT_READ, MAP_SHARED, file_.get(), off_t{offset});
        if (bytes == MAP_FAILED) // NOLINT(performance-no-int-to-ptr): the system's own name for it
            return {};
        return {static_cast<const std::uint8_t*>(bytes), length};
    }

    void unmap(std::span<const std::uint8_t> bytes) override {
        // The system takes the address as one to be written, which this is not.
        ::munmap(const_cast<std::uint8_t*>(bytes.data()), // NOLINT(cppcoreguidelines-pro-type-const-cast)
                 bytes.size());
    }

    Ready wait(Microseconds timeout) override {
        const auto end = steady_clock::now() + timeout;
        pollfd polled{file_.get(), POLLIN, 0};
        const int count = retryInterrupted([&] {
            const auto left = std::chrono::duration_cast<Microseconds>(end - steady_clock::now());
            const timespec duration = durationOf(std::max(left, Microseconds(0)));
            return ::ppoll(&polled, 1, &duration, nullptr);
        });
        if (count == 0)
            return Ready::timeOut;
        return count == 1 && polled.revents == POLLIN ? Ready::picture : Ready::gone;
    }

private:
    const FileDescriptor file_;
};

} // namespace

OpenedVideo KernelVideo::open(const std::string& node) {
    FileDescriptor file(
        retryInterrupted([&] { return ::open(node.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC); }));
    if (!file)
        return {nullptr, errno};
    return {std::make_unique<KernelDevice>(std::move(file)), 0};
}

} // namespace lightpen::webcam
