// SPDX-License-Identifier: MIT
#include "linux_desktop/process/TerminationSignals.h"

#include <semaphore.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "platform/FileDescriptor.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

// What a shell adds to a signal's number.
constexpr int kSignalStatus = 128;

std::atomic<int> latest{0}; // none at the end of the watch
sem_t arrivals;

// Only what is allowed in a signal handler.
void passOn(int number) {
    const int error = errno;
    latest.store(number);
    sem_post(&arrivals);
    errno = error;
}

// Not SIG_IGN, which the programs that this one starts would inherit.
void passOver(int) {}

void takeOver(int number, void (*handler)(int), struct sigaction& previous) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    if (sigaction(number, &action, &previous) != 0)
        logLine("Signals: signal %d cannot be taken over: %s", number, errorText(errno).c_str());
}

// Whether a signal or the end of the watch comes within that time; it still counts as to come.
bool arrives(std::chrono::milliseconds patience) {
    const auto end = std::chrono::steady_clock::now().time_since_epoch() + patience;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(end);
    const timespec limit{seconds.count(), std::chrono::nanoseconds(end - seconds).count()};
    return retryInterrupted([&] { return sem_clockwait(&arrivals, CLOCK_MONOTONIC, &limit); }) == 0 &&
           sem_post(&arrivals) == 0;
}

} // namespace

TerminationSignals::TerminationSignals(RunLoop& runLoop, std::chrono::milliseconds patience)
    : runLoop_(runLoop), patience_(patience) {
    sem_init(&arrivals, 0, 0);
    try {
        thread_ = std::thread([this] { watch(); });
    } catch (const std::system_error& error) {
        logLine("Signals: no thread for them: %s", error.code().message().c_str());
        return;
    }
    for (std::size_t i = 0; i < kSignals.size(); ++i)
        takeOver(kSignals[i], kSignals[i] == SIGPIPE ? passOver : passOn, previous_[i]);
}

TerminationSignals::~TerminationSignals() {
    if (thread_.joinable()) {
        for (std::size_t i = 0; i < kSignals.size(); ++i)
            sigaction(kSignals[i], &previous_[i], nullptr);
        latest.store(0);
        sem_post(&arrivals);
        thread_.join();
    }
    sem_destroy(&arrivals);
}

void TerminationSignals::watch() {
    while (retryInterrupted([] { return sem_wait(&arrivals); }) == 0) {
        const int number = latest.load();
        if (number == 0)
            return;
        if (runLoop_.terminating())
            runLoop_.exitProcess(kSignalStatus + number);
        runLoop_.terminate(EXIT_SUCCESS);
        if (arrives(patience_))
            continue;
        logLine("Signals: the program hangs, and is left where it stands");
        runLoop_.exitProcess(kSignalStatus + number);
    }
}

} // namespace lightpen
