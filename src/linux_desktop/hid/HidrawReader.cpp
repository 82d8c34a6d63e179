// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/HidrawReader.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <array>
#include <system_error>
#include <utility>

#include "platform/Log.h"

namespace lightpen {

namespace {

// The kernel's own limit for a report, so that none is cut before it is counted.
constexpr std::size_t kBufferSize = 16384;
// The kernel keeps 64 reports; a node that yields more than a few times as many at once would never let go.
constexpr int kMostReportsAtOnce = 256;

constexpr short kHangUp = POLLHUP | POLLERR | POLLNVAL;

// The node's state now: poll's bits, also in the event of an error, which is a hang-up.
short readiness(int node) {
    pollfd state{node, POLLIN, 0};
    return retryInterrupted([&] { return ::poll(&state, 1, 0); }) < 0 ? kHangUp : state.revents;
}

} // namespace

HidrawReader::HidrawReader(std::shared_ptr<const FileDescriptor> node, std::shared_ptr<ReportFanOut> fanOut,
                           std::function<void()> gone)
    : node_(std::move(node)), fanOut_(std::move(fanOut)), gone_(std::move(gone)),
      wakeUp_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), buffer_(kBufferSize) {}

std::shared_ptr<HidrawReader> HidrawReader::start(std::shared_ptr<const FileDescriptor> node,
                                                  std::shared_ptr<ReportFanOut> fanOut,
                                                  std::function<void()> gone) {
    std::shared_ptr<HidrawReader> reader(
        new HidrawReader(std::move(node), std::move(fanOut), std::move(gone)));
    if (!reader->wakeUp_) {
        logLine("HID: no event descriptor for reading: %s", errorText(errno).c_str());
        return nullptr;
    }
    try {
        reader->thread_ = std::thread([self = reader.get()] { self->run(); });
    } catch (const std::system_error& error) {
        logLine("HID: no thread for reading: %s", error.what());
        return nullptr;
    }
    return reader;
}

HidrawReader::~HidrawReader() {
    stop();
}

void HidrawReader::run() {
    for (;;) {
        std::array<pollfd, 2> waited{{{node_->get(), POLLIN, 0}, {wakeUp_.get(), POLLIN, 0}}};
        if (retryInterrupted([&] { return ::poll(waited.data(), waited.size(), -1); }) < 0) {
            logLine("HID: waiting for reports failed: %s", errorText(errno).c_str());
            return endWhen([] { return true; });
        }
        if (waited[1].revents != 0)
            return;
        drain();
        const std::lock_guard hold(mutex_);
        if (ended_)
            return;
    }
}

void HidrawReader::drain() {
    endWhen([this] { return !readAll(); });
}

// Says that the node is gone when the test, made under the lock, answers so.
template <class Test>
void HidrawReader::endWhen(Test isGone) {
    bool gone = false;
    {
        const std::lock_guard hold(mutex_);
        gone = !ended_ && isGone();
        if (gone) {
            ended_ = true;
            fanOut_->vanish();
        }
    }
    if (gone && gone_)
        gone_();
}

void HidrawReader::vanish() {
    {
        const std::lock_guard hold(mutex_);
        if (!std::exchange(ended_, true))
            readAll();
        fanOut_->vanish();
    }
    wakeThread();
}

// False when the node is gone.
bool HidrawReader::readAll() {
    for (int report = 0; report < kMostReportsAtOnce; ++report) {
        // A look before each read, since the node may be a blocking one.
        const short ready = readiness(node_->get());
        if ((ready & POLLIN) == 0)
            return (ready & kHangUp) == 0;
        if (!readOne())
            return false;
    }
    return true;
}

// False when the node is gone.
bool HidrawReader::readOne() {
    const ssize_t length =
        retryInterrupted([&] { return ::read(node_->get(), buffer_.data(), buffer_.size()); });
    if (length < 0 && errno == EAGAIN)
        return true;
    if (length < 0) {
        if (errno != EIO && errno != ENODEV)
            logLine("HID: reading a report failed: %s", errorText(errno).c_str());
        return false;
    }
    // An end of file reads like an empty report.
    if (length == 0 && (readiness(node_->get()) & kHangUp) != 0)
        return false;
    fanOut_->deliver({buffer_.data(), static_cast<std::size_t>(length)});
    return true;
}

void HidrawReader::wakeThread() {
    const std::uint64_t one = 1;
    if (retryInterrupted([&] { return ::write(wakeUp_.get(), &one, sizeof one); }) < 0)
        logLine("HID: the reading thread cannot be woken: %s", errorText(errno).c_str());
}

void HidrawReader::stop() {
    {
        const std::lock_guard hold(mutex_);
        ended_ = true;
    }
    if (!thread_.joinable())
        return;
    wakeThread();
    thread_.join();
}

} // namespace lightpen
