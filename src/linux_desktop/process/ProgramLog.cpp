// SPDX-License-Identifier: MIT
#include "linux_desktop/process/ProgramLog.h"

#include <poll.h>
#include <semaphore.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "linux_desktop/process/LogChannel.h"
#include "linux_desktop/process/LogFile.h"
#include "linux_desktop/process/LogQueue.h"
#include "linux_desktop/process/SignalMask.h"
#include "platform/NumericLocale.h"
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

    // A caller's: takes no lock, and wakes the writer only where it sleeps.
    void append(const LogEntry& entry) {
        // Behind a loss everything is lost until the writer knows, so that its note stands in the right
        // place.
        if (lost_.load(std::memory_order_relaxed) != 0 || !queue_.put(entry))
            countLost(entry);
        if (asleep_ && asleep_.exchange(false))
            wake_.post();
    }

    bool flush(Microseconds patience) {
        std::unique_lock<std::mutex> lock(mutex_);
        const std::uint64_t end = queue_.end();
        std::optional<std::array<std::uint64_t, 2>> wanted; // of the channels, once they have it all
        const auto done = [&] {
            if (!wanted && queue_.taken() >= end && lost_ == 0)
                wanted = {channels_[0].received(), channels_[1].received()};
            return wanted && channels_[0].settled() >= (*wanted)[0] && channels_[1].settled() >= (*wanted)[1];
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
        const CNumericLocale numbers;
        std::unique_lock<std::mutex> lock(mutex_);
        while (!ending_) {
            format();
            for (LogChannel& channel : channels_)
                channel.refill();
            flushing_ = false;
            progressed_.notify_all();
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
    // Which of the channels a line or a text goes to.
    std::array<bool, 2> channelsOf(LogEntry::Sort sort, std::string_view beginning) const {
        const bool toFile = choice == LogChoice::file;
        const bool isLine = sort == LogEntry::Sort::line;
        return {isLine && !(toFile && isNumbered(beginning)), toFile || !isLine};
    }

    // The losses of both channels are one word, so that whoever sees one of them sees both.
    void countLost(const LogEntry& entry) {
        const auto channels = channelsOf(entry.sort, entry.beginning());
        lost_.fetch_add((channels[0] ? 1 : 0) + (channels[1] ? kSecondLoss : 0));
    }

    // Formats what has come into the channels, and behind it what had no room to come.
    void format() {
        const std::uint64_t lost = lost_;
        queue_.takeAll([this](const LogEntry& entry) { format(entry); });
        if (lost == 0 || !queue_.isEmpty())
            return;
        channels_[0].lose(lost % kSecondLoss);
        channels_[1].lose(lost / kSecondLoss);
        lost_ -= lost;
    }
    void format(const LogEntry& entry) {
        std::size_t length = entry.print(text_.data(), text_.size(), entry);
        if (length >= text_.size()) {
            text_.resize(length + 1);
            length = entry.print(text_.data(), text_.size(), entry);
        }
        const std::string_view text(text_.data(), length);
        const auto channels = channelsOf(entry.sort, text);
        for (std::size_t i = 0; i < channels_.size(); ++i)
            if (channels[i])
                channels_[i].append(text, entry.sort == LogEntry::Sort::line);
    }

    bool any(bool (LogChannel::*question)() const) const { return std::ranges::any_of(channels_, question); }
    bool urgent() const { return flushing_ || ending_; }

    // Lines come in bursts, a stroke's at every pass. While they do, the writer looks by itself after each
    // gathering time; only after one without a line does it sleep until it is woken.
    void pause(std::unique_lock<std::mutex>& lock) {
        const auto wanted = [&] { return !queue_.isEmpty() || lost_ != 0 || urgent(); };
        gather(lock);
        if (wanted())
            return;
        // A caller puts its line first and looks then whether it must wake; here it is the other way round.
        for (asleep_ = true; !wanted(); asleep_ = true) {
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

    static constexpr std::uint64_t kSecondLoss = std::uint64_t{1} << 32;
    // What may come between two looks of the writer: some ten seconds of a stroke, while a disk is busy.
    static constexpr std::size_t kQueueRoom = std::size_t{1} << 18;

    const Microseconds gathering_;
    LogFile file_;
    LogQueue queue_{kQueueRoom};
    std::atomic<std::uint64_t> lost_{0};        // of each channel, and not told to it yet
    std::atomic<bool> asleep_{false};           // only then does a caller pay for a wake-up
    std::string text_ = std::string(512, '\0'); // the writer's, to format in
    PriorityInheritanceMutex mutex_;            // around what follows; no caller of the log takes it
    WakeUp wake_;
    std::condition_variable progressed_;
    std::array<LogChannel, 2> channels_; // the diagnostics' descriptor, and the output's or the file
    bool flushing_ = false;
    bool ending_ = false;
    bool ended_ = false;
    std::uint64_t progress_ = 0;
};

ProgramLog::ProgramLog(const Settings& settings)
    : writer_(std::make_shared<Writer>(settings)), patience_(settings.patience),
      file_(choiceOf(settings) == LogChoice::file ? LogFile::pathIn(settings.folder) : "") {
    if (!listens()) { // nothing will come
        writer_->cannotRun();
        return;
    }
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
    take(LogEntry::of(LogEntry::Sort::line, line));
}

void ProgramLog::standardOutput(std::string_view text) {
    take(LogEntry::of(LogEntry::Sort::text, text));
}

void ProgramLog::take(const LogEntry& entry) {
    writer_->append(entry);
}

bool ProgramLog::flush(Microseconds patience) {
    return writer_->flush(patience);
}

} // namespace lightpen
