// SPDX-License-Identifier: MIT
#include "linux_desktop/hid/HidrawWriter.h"

#include <poll.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

#include "platform/IOHID.h"
#include "platform/Log.h"
#include "platform/PriorityInheritance.h"

namespace lightpen {

namespace {

using SteadyClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// How often a wait without limit looks whether the program is ending.
constexpr milliseconds kLookInterval{50};
// What a wait without limit still gets then, so that the last commands to the unit go out.
constexpr milliseconds kEndingGrace{200};

// How long after a failed transfer the kernel may still find out that the unit is gone.
constexpr milliseconds kUnplugDelay{300};

// Whether the node hangs up by then.
bool hangsUp(int node, milliseconds patience) {
    pollfd state{node, 0, 0};
    return retryInterrupted([&] { return ::poll(&state, 1, static_cast<int>(patience.count())); }) > 0 &&
           (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

IOReturn resultOfError(int error, int node) {
    switch (error) {
    case ENODEV:
    case ENXIO:
    case ESHUTDOWN:
        return kIOReturnNoDevice;
    case ETIMEDOUT: // the kernel's own patience is over
        return kIOReturnTimeout;
    case EINVAL:
    case EMSGSIZE:
        return kIOReturnBadArgument;
    case EIO:
    case EILSEQ:
    case EPROTO:
    case ETIME: // what the bus says to a transfer that unplugging cuts off
        return hangsUp(node, kUnplugDelay) ? kIOReturnNoDevice : kIOReturnError;
    default:
        return hangsUp(node, milliseconds(0)) ? kIOReturnNoDevice : kIOReturnError;
    }
}

} // namespace

struct HidrawWriter::Line {
    struct Report {
        std::vector<std::uint8_t> bytes;
        std::optional<IOReturn> result;
    };

    Line(std::shared_ptr<const FileDescriptor> itsNode, std::function<bool()> isTerminating)
        : node(std::move(itsNode)), terminating(std::move(isTerminating)) {}

    void run();
    IOReturn write(const std::vector<std::uint8_t>& bytes);
    void logFailure(std::size_t length, int error);
    bool waitForRoomInKernel();
    // Waits until done answers true; false when time was up before.
    template <class Done>
    bool waitUntil(std::unique_lock<std::mutex>& hold, std::optional<SteadyClock::time_point> deadline,
                   Done done);

    const std::shared_ptr<const FileDescriptor> node;
    const std::function<bool()> terminating;
    PriorityInheritanceMutex mutex;
    std::condition_variable changed;
    std::deque<std::shared_ptr<Report>> waiting;
    std::optional<IOReturn> stopped;
    bool failureLogged = false; // of the run of failures under way; the thread's own
};

void HidrawWriter::Line::run() {
    std::unique_lock<std::mutex> hold(mutex);
    for (;;) {
        changed.wait(hold, [this] { return stopped || !waiting.empty(); });
        if (stopped)
            return;
        const auto report = waiting.front();
        waiting.pop_front();
        hold.unlock();
        const IOReturn result = write(report->bytes);
        hold.lock();
        report->result = result;
        changed.notify_all();
    }
}

IOReturn HidrawWriter::Line::write(const std::vector<std::uint8_t>& bytes) {
    ssize_t written = 0;
    do
        written = retryInterrupted([&] { return ::write(node->get(), bytes.data(), bytes.size()); });
    while (written < 0 && errno == EAGAIN && waitForRoomInKernel());
    const int error = written < 0 ? errno : EIO;
    if (written == static_cast<ssize_t>(bytes.size())) {
        failureLogged = false;
        return kIOReturnSuccess;
    }
    const IOReturn result = resultOfError(error, node->get());
    if (result != kIOReturnNoDevice)
        logFailure(bytes.size() - 1, error);
    return result;
}

// Only the first of a row. Nothing once stopped: nobody waits for this thread, so the log may be gone too.
void HidrawWriter::Line::logFailure(std::size_t length, int error) {
    const std::lock_guard hold(mutex);
    if (!stopped && !std::exchange(failureLogged, true))
        logLine("HID: an output report of %zu bytes could not be sent: %s", length, errorText(error).c_str());
}

// False, with errno as a write would leave it, when there will be no room.
bool HidrawWriter::Line::waitForRoomInKernel() {
    for (;;) {
        pollfd state{node->get(), POLLOUT, 0};
        const int ready = retryInterrupted([&] { return ::poll(&state, 1, 100); });
        if (ready != 0)
            return ready > 0;
        const std::lock_guard hold(mutex);
        if (stopped) {
            errno = ETIMEDOUT;
            return false;
        }
    }
}

template <class Done>
bool HidrawWriter::Line::waitUntil(std::unique_lock<std::mutex>& hold,
                                   std::optional<SteadyClock::time_point> deadline, Done done) {
    while (!deadline) {
        if (changed.wait_for(hold, kLookInterval, done))
            return true;
        if (terminating && terminating())
            deadline = SteadyClock::now() + kEndingGrace;
    }
    return changed.wait_until(hold, *deadline, done);
}

std::unique_ptr<HidrawWriter> HidrawWriter::start(std::shared_ptr<const FileDescriptor> node,
                                                  std::function<bool()> terminating) {
    auto line = std::make_shared<Line>(std::move(node), std::move(terminating));
    try {
        // Detached: nobody may have to wait for a write that is stuck.
        std::thread([line] { line->run(); }).detach();
    } catch (const std::system_error& error) {
        logLine("HID: no thread for sending: %s", error.what());
        return nullptr;
    }
    return std::unique_ptr<HidrawWriter>(new HidrawWriter(std::move(line)));
}

HidrawWriter::~HidrawWriter() {
    stop(kIOReturnNotOpen);
}

IOReturn HidrawWriter::send(std::vector<std::uint8_t> bytes, std::uint32_t timeoutMs) {
    std::optional<SteadyClock::time_point> deadline;
    if (timeoutMs != kIOHIDNoTimeout)
        deadline = SteadyClock::now() + milliseconds(timeoutMs);
    auto report = std::make_shared<Line::Report>();
    report->bytes = std::move(bytes);

    std::unique_lock<std::mutex> hold(line_->mutex);
    if (!line_->waitUntil(hold, deadline,
                          [&] { return line_->stopped || line_->waiting.size() < kMostWaiting; }))
        return kIOReturnTimeout;
    if (line_->stopped)
        return *line_->stopped;
    line_->waiting.push_back(report);
    line_->changed.notify_all();
    if (!line_->waitUntil(hold, deadline, [&] { return line_->stopped || report->result; }))
        return kIOReturnTimeout;
    return report->result ? *report->result : *line_->stopped;
}

void HidrawWriter::stop(IOReturn result) {
    const std::lock_guard hold(line_->mutex);
    if (!line_->stopped)
        line_->stopped = result;
    line_->waiting.clear();
    line_->changed.notify_all();
}

} // namespace lightpen
