// SPDX-License-Identifier: MIT
#include "kernel/gadget/GadgetPort.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <utility>

#include "platform/Log.h"

namespace lightpen {

namespace {

// What the unit keeps while the host does not ask; the longest burst that it sends is half of that.
constexpr std::size_t kMostPending = 32;
// The longest output report is the kernel's affair; a read yields one whole report.
constexpr std::size_t kReadSize = 4096;
// How soon a unit that did not read its output reports is asked again whether it does.
constexpr int kReadAgainMs = 5;
// How long a node may take to appear after its device did.
constexpr int kNodeTries = 200;
constexpr int kNodeRetryMs = 10;

} // namespace

GadgetPort::GadgetPort(SoftwareUnit& unit, Clock& clock, const GadgetDescription& gadget)
    : unit_(unit), clock_(clock), composition_(unit.description(), gadget),
      wakeUps_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wakeUps_)
        throw GadgetError("there is no event for a unit's thread: " + errorText(errno));
    thread_ = std::thread([this] { run(); });
}

GadgetPort::~GadgetPort() {
    {
        const std::lock_guard hold(mutex_);
        stopping_ = true;
    }
    wakeThread();
    thread_.join();
}

void GadgetPort::wakeThread() {
    if (::eventfd_write(wakeUps_.get(), 1) != 0)
        logLine("Gadget: a unit's thread cannot be woken: %s", errorText(errno).c_str());
}

// The plug

void GadgetPort::setPlugged(bool plugged) {
    {
        const std::lock_guard hold(mutex_);
        wantPlugged_ = plugged;
        ++change_;
        pending_.clear();
    }
    wakeThread();
}

bool GadgetPort::settle(Microseconds patience) {
    std::unique_lock hold(mutex_);
    return settled_.wait_for(hold, patience, [this] { return carriedOut_ == change_; }) && failure_.empty();
}

std::string GadgetPort::failure() const {
    const std::lock_guard hold(mutex_);
    return failure_;
}

void GadgetPort::run() {
    while (carryOutPlugging())
        exchangeReports();
    disconnect();
}

// False when the thread is to end.
bool GadgetPort::carryOutPlugging() {
    std::unique_lock hold(mutex_);
    if (stopping_)
        return false;
    const std::uint64_t change = change_;
    if (change == carriedOut_)
        return true;
    const bool plugged = wantPlugged_;
    hold.unlock();
    disconnect();
    if (plugged)
        connect(change);
    hold.lock();
    carriedOut_ = change;
    settled_.notify_all();
    return true;
}

void GadgetPort::connect(std::uint64_t change) {
    std::string failure;
    FileDescriptor node;
    try {
        composition_.plug();
        node = openPenNode();
    } catch (const GadgetError& error) {
        failure = error.what();
        composition_.unplug();
        logLine("Gadget: a unit cannot be plugged in: %s", error.what());
    }
    const std::lock_guard hold(mutex_);
    failure_ = std::move(failure);
    if (node) {
        node_ = std::move(node);
        connected_ = change;
    }
}

// None when the unit has no pen interface.
FileDescriptor GadgetPort::openPenNode() {
    const std::string path = composition_.penNode();
    if (path.empty())
        return {};
    for (int tries = 1;; ++tries) {
        FileDescriptor node(
            retryInterrupted([&] { return ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC); }));
        if (node)
            return node;
        if (tries == kNodeTries || (errno != ENOENT && errno != ENXIO))
            throw GadgetError(path + " cannot be opened: " + errorText(errno));
        std::this_thread::sleep_for(std::chrono::milliseconds(kNodeRetryMs));
    }
}

void GadgetPort::disconnect() {
    {
        const std::lock_guard hold(mutex_);
        node_ = FileDescriptor();
        connected_ = 0;
        pending_.clear();
        failure_.clear();
    }
    composition_.unplug();
}

// Reports

void GadgetPort::send(const ReportBytes& report) {
    {
        const std::lock_guard hold(mutex_);
        if (connected_ == 0 || connected_ != change_)
            return;
        if (pending_.empty() && writeNow(report))
            return;
        pending_.push_back(report);
        if (pending_.size() > kMostPending)
            pending_.pop_front();
    }
    wakeThread();
}

// False when the kernel still holds the report before. What it refuses for another reason is lost: before the
// host has configured the device nobody would get it.
bool GadgetPort::writeNow(const ReportBytes& report) {
    const auto written = retryInterrupted([&] { return ::write(node_.get(), report.data(), report.size()); });
    return written >= 0 || errno != EAGAIN;
}

void GadgetPort::writePending() {
    const std::lock_guard hold(mutex_);
    while (!pending_.empty() && writeNow(pending_.front()))
        pending_.pop_front();
}

bool GadgetPort::unitReads() {
    return unit_.reads();
}

// Waits for something to do, and does it.
void GadgetPort::exchangeReports() {
    const bool reads = unitReads();
    std::array<pollfd, 2> waited{{{wakeUps_.get(), POLLIN, 0}, {-1, 0, 0}}};
    {
        const std::lock_guard hold(mutex_);
        waited[1].fd = node_ ? node_.get() : -1;
        waited[1].events = static_cast<short>((reads ? POLLIN : 0) | (pending_.empty() ? 0 : POLLOUT));
    }
    const int patience = reads || waited[1].fd < 0 ? -1 : kReadAgainMs;
    if (retryInterrupted([&] { return ::poll(waited.data(), waited.size(), patience); }) < 0)
        return dropNode(errno);
    eventfd_t none = 0;
    if (waited[0].revents != 0)
        ::eventfd_read(wakeUps_.get(), &none);
    if ((waited[1].revents & POLLOUT) != 0)
        writePending();
    if ((waited[1].revents & ~POLLOUT) != 0 && unitReads())
        readOutput();
}

// One report: what the unit does upon it may be to stop reading.
void GadgetPort::readOutput() {
    ReportBytes report(kReadSize);
    const auto got = retryInterrupted([&] { return ::read(node_.get(), report.data(), report.size()); });
    if (got <= 0)
        return got < 0 && errno == EAGAIN ? void() : dropNode(got < 0 ? errno : EIO);
    report.resize(static_cast<std::size_t>(got));
    if (unit_.output(report, clock_.now()) == SoftwareUnit::Output::notRead)
        unit_.outputLater(report);
}

void GadgetPort::dropNode(int error) {
    logLine("Gadget: a unit has lost its node: %s", errorText(error).c_str());
    const std::lock_guard hold(mutex_);
    node_ = FileDescriptor();
    connected_ = 0;
}

} // namespace lightpen
