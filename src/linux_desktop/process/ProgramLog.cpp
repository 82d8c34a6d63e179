// SPDX-License-Identifier: MIT
#include "linux_desktop/process/ProgramLog.h"

#include <poll.h>
#include <semaphore.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "linux_desktop/process/LogChannel.h"
#include "linux_desktop/process/LogFile.h"
#include "linux_desktop/process/SignalMask.h"
#include "platform/PriorityInheritance.h"

namespace lightpen {

namespace {

// How long the writer waits for a reader before it looks whether it is still wanted.
constexpr int kPollMilliseconds = 50;
// How long the end of the log waits for the writer's thread, which is then idle or stuck in a write.
constexpr std::chrono::milliseconds kEndPatience{500};

using SteadyClock = std::chrono::steady_clock;

// Wakes the writer. Unlike a condition it takes no lock, not even one inside the library, from a caller that
// is in a hurry.
class WakeUp {
public:
    WakeUp() { ::sem_init(&count_, 0, 0); }
    ~WakeUp() { ::sem_destroy(&count_); }
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    void post() { ::sem_post(&count_); }
    void wait() { ::sem_wait(&count_); } // a signal ends it too
    // False when the time has come before a wake-up, or a signal.
    bool waitUntil(SteadyClock::time_point time) {
        const auto since =
            std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
        const std::timespec until{since / 1'000'000'000, since % 1'000'000'000};
        return ::sem_clockwait(&count_, CLOCK_MONOTONIC, &until) == 0;
    }

private:
    sem_t count_{};
};

LogChoice choiceOf(const ProgramLog::Settings& settings) {
    if (settings.choice != LogChoice::automatic)
        return settings.choice;
    return ::isatty(settings.diagnostics) == 1 ? LogChoice::standardError : LogChoice::file;
}

// Whether the line is "TAG n:NUMBER...", one of those that tell each step and the place of each touch.
bool isNumbered(std::string_view line) {
    constexpr std::array<std::string_view, 6> kTags{"Light", "Event", "KVR", "KVRC", "Calibr", "RBIOS"};
    const auto tag = line.substr(0, line.find(" n:"));
    return std::ranges::find(kTags, tag) != kTags.end() &&
           line.find_first_of("0123456789", tag.size()) == tag.size() + 3;
}

} // namespace

// Its public operations are for the log's callers, but for run(), the thread's body.
class ProgramLog::Writer {
public:
    explicit Writer(const Settings& settings)
        : choice(choiceOf(settings)), gathering_(settings.gathering),
          file_(settings.folder, settings.diagnostics),
          channels_{LogChannel(settings.diagnostics, settings.capacity),
                    choice == LogChoice::file
                        ? LogChannel(-1, settings.capacity, [this](auto text) { file_.append(text); })
                        : LogChannel(settings.output, settings.capacity)} {}

    void append(std::string_view text, bool isLine) {
        const bool toFile = choice == LogChoice::file;
        bool wake = false;
        {
            const std::lock_guard hold(mutex_);
            if (isLine && !(toFile && isNumbered(text)))
                channels_[0].append(text, true);
            if (toFile || !isLine)
                channels_[1].append(text, isLine);
            wake = std::exchange(asleep_, false);
        }
        if (wake)
            wake_.post();
    }

    bool flush(Microseconds patience) {
        std::unique_lock<std::mutex> lock(mutex_);
        const std::array<std::uint64_t, 2> wanted{channels_[0].received(), channels_[1].received()};
        const auto done = [&] {
            return channels_[0].settled() >= wanted[0] && channels_[1].settled() >= wanted[1];
        };
        while (!done()) {
            flushing_ = true;
            wake_.post();
            const auto before = progress_;
            if (!progressed_.wait_for(lock, patience,
                                      [&] { return done() || ended_ || progress_ != before; }))
                return false;
            if (ended_)
                return done();
        }
        return true;
    }

    // Ends the thread, at the latest at its next look; returns when it has ended or is stuck.
    void end() {
        std::unique_lock<std::mutex> lock(mutex_);
        ending_ = true;
        wake_.post();
        progressed_.wait_for(lock, kEndPatience, [&] { return ended_; });
    }

    void run() {
        std::unique_lock<std::mutex> lock(mutex_);
        while (!ending_) {
            for (LogChannel& channel : channels_)
                channel.refill();
            flushing_ = false;
            // The condition has a lock inside, whose holder nobody lends a priority: no caller may wait
            // behind it.
            lock.unlock();
            progressed_.notify_all();
            lock.lock();
            if (!any(&LogChannel::hasRest)) {
                pause(lock);
                continue;
            }
            lock.unlock();
            const bool wrote = writeRound();
            lock.lock();
            if (wrote)
                ++progress_;
        }
        ended_ = true;
        progressed_.notify_all();
    }

    // In place of run(), before anything is logged.
    void cannotRun() { ended_ = true; }

    const LogChoice choice;

private:
    bool any(bool (LogChannel::*question)() const) const { return std::ranges::any_of(channels_, question); }
    bool urgent() const { return flushing_ || ending_; }

    // Lines come in bursts, a stroke's at every pass. While they do, the writer looks by itself after each
    // gathering time; only after one without a line does it sleep until it is woken.
    void pause(std::unique_lock<std::mutex>& lock) {
        const auto wanted = [&] { return any(&LogChannel::hasWaiting) || urgent(); };
        gather(lock);
        if (wanted())
            return;
        while (!wanted()) {
            asleep_ = true;
            lock.unlock();
            wake_.wait();
            lock.lock();
        }
        asleep_ = false;
        gather(lock);
    }
    void gather(std::unique_lock<std::mutex>& lock) {
        const auto end = SteadyClock::now() + gathering_;
        for (bool inTime = true; inTime && !urgent();) {
            lock.unlock();
            inTime = wake_.waitUntil(end);
            lock.lock();
        }
    }

    // Returns whether anything has gone out. The file is never waited for.
    bool writeRound() {
        std::array<pollfd, 2> polled{};
        for (std::size_t i = 0; i < channels_.size(); ++i)
            polled[i] = {channels_[i].hasRest() ? channels_[i].descriptor() : -1, POLLOUT, 0};
        bool wrote = choice == LogChoice::file && channels_[1].hasRest() && channels_[1].writeSome();
        if (poll(polled.data(), polled.size(), wrote ? 0 : kPollMilliseconds) <= 0)
            return wrote;
        for (std::size_t i = 0; i < channels_.size(); ++i)
            if (polled[i].revents != 0 && channels_[i].writeSome())
                wrote = true;
        return wrote;
    }

    const Microseconds gathering_;
    LogFile file_;
    PriorityInheritanceMutex mutex_;
    WakeUp wake_;
    std::condition_variable progressed_;
    std::array<LogChannel, 2> channels_; // the diagnostics' descriptor, and the output's or the file
    bool asleep_ = false;                // only then does a caller pay for a wake-up
    bool flushing_ = false;
    bool ending_ = false;
    bool ended_ = false;
    std::uint64_t progress_ = 0;
};

ProgramLog::ProgramLog(const Settings& settings)
    : writer_(std::make_shared<Writer>(settings)), patience_(settings.patience),
      file_(choiceOf(settings) == LogChoice::file ? LogFile::pathIn(settings.folder) : "") {
    const AllSignalsBlocked blocked;
    try {
        std::thread thread([writer = writer_] { writer->run(); });
        pthread_setname_np(thread.native_handle(), "log");
        thread.detach();
    } catch (const std::system_error& error) {
        writer_->cannotRun();
        ::dprintf(settings.diagnostics, "Log: no thread for writing: %s; nothing is logged\n",
                  error.code().message().c_str());
    }
}

ProgramLog::~ProgramLog() {
    writer_->flush(patience_);
    writer_->end();
}

bool ProgramLog::listens() const {
    return writer_->choice != LogChoice::none;
}

void ProgramLog::logLine(std::string_view line) {
    writer_->append(line, true);
}

void ProgramLog::standardOutput(std::string_view text) {
    writer_->append(text, false);
}

bool ProgramLog::flush(Microseconds patience) {
    return writer_->flush(patience);
}

} // namespace lightpen
