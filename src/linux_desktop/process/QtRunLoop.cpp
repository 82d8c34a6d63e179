// SPDX-License-Identifier: MIT
#include "linux_desktop/process/QtRunLoop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>

#include "platform/Log.h"

namespace lightpen {

namespace {

// What a nested loop returns when it was not ended from outside.
constexpr int kTimeIsUp = std::numeric_limits<int>::min();

// Qt's timers count milliseconds; upwards, so that they never come too early.
std::chrono::milliseconds timerInterval(Microseconds wait) {
    const auto interval = std::chrono::ceil<std::chrono::milliseconds>(std::max(wait, Microseconds::zero()));
    return std::min(interval, std::chrono::milliseconds(std::numeric_limits<int>::max()));
}

FileDescriptor makeWakeUp() {
    FileDescriptor wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wakeUp) {
        logLine("Run loop: nothing can wake it: %s", errorText(errno).c_str());
        std::exit(EXIT_FAILURE); // NOLINT(concurrency-mt-unsafe): there are no other threads yet
    }
    return wakeUp;
}

} // namespace

QtRunLoop::QtRunLoop(Clock& clock, std::function<void()> releaseButtonsAndFlushLog)
    : clock_(clock), atExit_(std::move(releaseButtonsAndFlushLog)), wakeUp_(makeWakeUp()),
      notifier_(wakeUp_.get(), QSocketNotifier::Read) {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, [this] { turn(); });
    connect(&notifier_, &QSocketNotifier::activated, this, [this] { wokenUp(); });
    QCoreApplication::instance()->installEventFilter(this);
}

// Whoever asks the application to quit (a session manager, Qt itself) means all of it, nested waits too.
bool QtRunLoop::eventFilter(QObject*, QEvent* event) {
    if (event->type() != QEvent::Quit)
        return false;
    terminate(EXIT_SUCCESS);
    return true;
}

void QtRunLoop::wokenUp() {
    std::uint64_t count = 0;
    retryInterrupted([&] { return ::read(wakeUp_.get(), &count, sizeof count); });
    wakePosted_.store(false);
    if (terminating())
        QCoreApplication::exit(status()); // the innermost loop and every one around it
    else
        turn();
}

int QtRunLoop::run() {
    if (!terminating())
        terminate(QCoreApplication::exec());
    return status();
}

bool QtRunLoop::containsSource(const RunLoopSourceRef& source, std::string_view mode) const {
    return std::any_of(sources_.begin(), sources_.end(),
                       [&](const auto& entry) { return entry.first == source && entry.second == mode; });
}

void QtRunLoop::addSource(const RunLoopSourceRef& source, std::string_view mode) {
    // Each opening of a unit brings one.
    std::erase_if(sources_, [](const auto& entry) { return entry.first.use_count() == 1; });
    sources_.emplace_back(source, mode);
    source->attachedTo(*this);
}

void QtRunLoop::performOnMainThread(PerformRequest request) {
    queue_.post(std::move(request));
    wake();
}

void QtRunLoop::performAfterDelay(PerformRequest request, Microseconds delay) {
    queue_.postDelayed(std::move(request), clock_.now() + std::max(delay, Microseconds::zero()));
    armTimer();
}

void QtRunLoop::cancelPreviousPerformRequests(const void* target, std::string_view selector,
                                              std::string_view argument) {
    queue_.cancelDelayed(target, selector, argument);
    armTimer();
}

// Takes none of Qt's locks from a thread that is in a hurry. A counter that is full wakes just as well.
void QtRunLoop::writeWakeUp() {
    const std::uint64_t one = 1;
    retryInterrupted([&] { return ::write(wakeUp_.get(), &one, sizeof one); });
}

// One wake-up is on its way at most, however many requests there are.
void QtRunLoop::wake() {
    if (!wakePosted_.exchange(true))
        writeWakeUp();
}

void QtRunLoop::armTimer() {
    if (const auto due = queue_.nextDue())
        timer_.start(timerInterval(*due - clock_.now()));
    else
        timer_.stop();
}

// One request a turn, so that windows and devices get theirs between two. The next turn is arranged before
// the request runs, because it may run the loop itself.
void QtRunLoop::turn() {
    const auto now = clock_.now();
    const auto due = queue_.nextDue();
    if (!queue_.hasPosted() && (!due || *due > now)) {
        armTimer();
        return;
    }
    wake();
    queue_.runOne(now);
}

void QtRunLoop::runFor(Microseconds duration) {
    const auto end = clock_.now() + duration;
    if (duration <= Microseconds::zero())
        QCoreApplication::processEvents();
    for (auto rest = duration; rest > Microseconds::zero() && !terminating(); rest = end - clock_.now()) {
        QEventLoop nested;
        QTimer::singleShot(timerInterval(rest), Qt::PreciseTimer, &nested,
                           [&nested] { nested.exit(kTimeIsUp); });
        // Qt ends nested loops only when the application ends.
        if (const int result = nested.exec(); result != kTimeIsUp)
            terminate(result);
    }
}

void QtRunLoop::terminate(int status) {
    long none = kNoStatus;
    if (status_.compare_exchange_strong(none, status))
        writeWakeUp();
}

void QtRunLoop::exitProcess(int status) {
    // A second thread that leaves meanwhile waits for the first, which takes it along.
    while (leaving_.test_and_set())
        pause();
    if (atExit_)
        atExit_();
    std::_Exit(status);
}

} // namespace lightpen
