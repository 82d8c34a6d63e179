// SPDX-License-Identifier: MIT
#include "linux_desktop/QtRunLoop.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QTimer>

namespace lightpen {

namespace {

const auto kTurn = static_cast<QEvent::Type>(QEvent::registerEventType());
const auto kEnd = static_cast<QEvent::Type>(QEvent::registerEventType());

// What a nested loop returns when it was not ended from outside.
constexpr int kTimeIsUp = std::numeric_limits<int>::min();

// Qt's timers count milliseconds; upwards, so that they never come too early.
std::chrono::milliseconds timerInterval(Microseconds wait) {
    const auto interval = std::chrono::ceil<std::chrono::milliseconds>(std::max(wait, Microseconds::zero()));
    return std::min(interval, std::chrono::milliseconds(std::numeric_limits<int>::max()));
}

} // namespace

// What Qt knows of the run loop: the place where its events and its timer arrive.
class QtRunLoop::Receiver final : public QObject {
public:
    explicit Receiver(QtRunLoop& loop) : loop_(loop) {
        timer.setSingleShot(true);
        timer.setTimerType(Qt::PreciseTimer);
        connect(&timer, &QTimer::timeout, this, [this] { loop_.turn(); });
        QCoreApplication::instance()->installEventFilter(this);
    }

    bool event(QEvent* event) override {
        if (event->type() == kTurn) {
            loop_.wakePosted_.store(false);
            loop_.turn();
        } else if (event->type() == kEnd) {
            QCoreApplication::exit(loop_.status());
        } else {
            return QObject::event(event);
        }
        return true;
    }

    // Whoever asks the application to quit (a session manager, Qt itself) means all of it, nested waits too.
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::Quit)
            return false;
        loop_.terminate(EXIT_SUCCESS);
        return true;
    }

    QTimer timer;

private:
    QtRunLoop& loop_;
};

QtRunLoop::QtRunLoop(Clock& clock, std::function<void()> lastAct)
    : clock_(clock), lastAct_(std::move(lastAct)), receiver_(std::make_unique<Receiver>(*this)) {}

QtRunLoop::~QtRunLoop() = default;

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

// One event is on its way at most, however many requests there are.
void QtRunLoop::wake() {
    if (!wakePosted_.exchange(true))
        QCoreApplication::postEvent(receiver_.get(), new QEvent(kTurn));
}

void QtRunLoop::armTimer() {
    if (const auto due = queue_.nextDue())
        receiver_->timer.start(timerInterval(*due - clock_.now()));
    else
        receiver_->timer.stop();
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
    if (!status_.compare_exchange_strong(none, status))
        return;
    // Ends the innermost loop and every one around it.
    QCoreApplication::postEvent(receiver_.get(), new QEvent(kEnd));
}

void QtRunLoop::exitProcess(int status) {
    // A second thread that leaves meanwhile waits for the first, which takes it along.
    while (leaving_.test_and_set())
        pause();
    if (lastAct_)
        lastAct_();
    std::_Exit(status);
}

} // namespace lightpen
