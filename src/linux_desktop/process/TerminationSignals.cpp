// SPDX-License-Identifier: MIT
#include "linux_desktop/process/TerminationSignals.h"

#include <fcntl.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

#include "platform/Log.h"

namespace lightpen {

namespace {

// What a shell adds to a signal's number.
constexpr int kSignalStatus = 128;
constexpr unsigned char kEndOfWatch = 0;

std::atomic<int> pipeForHandler{-1};

// Only what is allowed in a signal handler.
void passOn(int number) {
    const int error = errno;
    const auto byte = static_cast<unsigned char>(number);
    // A full pipe holds enough requests to end already.
    [[maybe_unused]] const auto written = ::write(pipeForHandler.load(), &byte, 1);
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

} // namespace

TerminationSignals::TerminationSignals(RunLoop& runLoop) : runLoop_(runLoop) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        logLine("Signals: no pipe: %s", errorText(errno).c_str());
        return;
    }
    readEnd_ = FileDescriptor(ends[0]);
    writeEnd_ = FileDescriptor(ends[1]);
    if (fcntl(writeEnd_.get(), F_SETFL, O_NONBLOCK) != 0)
        logLine("Signals: the pipe may block: %s", errorText(errno).c_str());
    pipeForHandler.store(writeEnd_.get());
    thread_ = std::thread([this] { watch(); });
    for (std::size_t i = 0; i < kSignals.size(); ++i)
        takeOver(kSignals[i], kSignals[i] == SIGPIPE ? passOver : passOn, previous_[i]);
}

TerminationSignals::~TerminationSignals() {
    if (!thread_.joinable())
        return;
    for (std::size_t i = 0; i < kSignals.size(); ++i)
        sigaction(kSignals[i], &previous_[i], nullptr);
    retryInterrupted([&] { return ::write(writeEnd_.get(), &kEndOfWatch, 1); });
    thread_.join();
    pipeForHandler.store(-1);
}

void TerminationSignals::watch() {
    unsigned char number = 0;
    while (retryInterrupted([&] { return ::read(readEnd_.get(), &number, 1); }) == 1) {
        if (number == kEndOfWatch)
            return;
        if (runLoop_.terminating())
            runLoop_.exitProcess(kSignalStatus + number);
        runLoop_.terminate(EXIT_SUCCESS);
    }
}

} // namespace lightpen
