// SPDX-License-Identifier: MIT
#include "linux_desktop/process/StderrLog.h"

#include <poll.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "linux_desktop/process/LogChannel.h"
#include "linux_desktop/process/SignalMask.h"

namespace lightpen {

namespace {

// How long the writer waits for a reader before it looks whether it is still wanted.
constexpr int kPollMilliseconds = 50;
// How long the end of the log waits for the writer's thread, which is then idle or stuck in a write.
constexpr std::chrono::milliseconds kEndPatience{500};

} // namespace

class StderrLog::Writer {
public:
    explicit Writer(const Settings& settings)
        : gathering_(settings.gathering), channels_{LogChannel(settings.diagnostics, settings.capacity),
                                                    LogChannel(settings.output, settings.capacity)} {}

    void append(std::size_t channel, std::string_view text, bool lineBreak);
    bool flush(Microseconds patience);
    // Ends the thread, at the latest at its next look; returns when it has ended or is stuck.
    void end();
    // The thread's body.
    void run();

private:
    bool urgent() const { return flushing_ || ending_; }
    bool anyWaiting() const;
    bool anyRest() const;
    void pause(std::unique_lock<std::mutex>& lock);
    bool writeRound();

    const Microseconds gathering_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable progressed_;
    std::array<LogChannel, 2> channels_;
    bool asleep_ = false; // only then does a caller pay for a wake-up
    bool flushing_ = false;
    bool ending_ = false;
    bool ended_ = false;
    std::uint64_t progress_ = 0;
    std::atomic<bool> abandoned_{false};
};

void StderrLog::Writer::append(std::size_t channel, std::string_view text, bool lineBreak) {
    bool wake = false;
    {
        const std::lock_guard hold(mutex_);
        channels_[channel].append(text, lineBreak);
        wake = std::exchange(asleep_, false);
    }
    if (wake)
        wake_.notify_one();
}

bool StderrLog::Writer::flush(Microseconds patience) {
    std::unique_lock lock(mutex_);
    const std::array<std::uint64_t, 2> wanted{channels_[0].received(), channels_[1].received()};
    const auto done = [&] {
        return channels_[0].settled() >= wanted[0] && channels_[1].settled() >= wanted[1];
    };
    while (!done()) {
        flushing_ = true;
        wake_.notify_one();
        const auto before = progress_;
        if (!progressed_.wait_for(lock, patience, [&] { return done() || ended_ || progress_ != before; }))
            return false;
        if (ended_)
            return done();
    }
    return true;
}

void StderrLog::Writer::end() {
    std::unique_lock lock(mutex_);
    ending_ = true;
    abandoned_.store(true);
    wake_.notify_one();
    progressed_.wait_for(lock, kEndPatience, [&] { return ended_; });
}

bool StderrLog::Writer::anyWaiting() const {
    return channels_[0].hasWaiting() || channels_[1].hasWaiting();
}

bool StderrLog::Writer::anyRest() const {
    return channels_[0].hasRest() || channels_[1].hasRest();
}

// Lines come in bursts, a stroke's at every pass. While they do, the writer looks by itself after each
// gathering time; only after one without a line does it sleep until it is woken.
void StderrLog::Writer::pause(std::unique_lock<std::mutex>& lock) {
    wake_.wait_for(lock, gathering_, [&] { return urgent(); });
    if (anyWaiting() || urgent())
        return;
    asleep_ = true;
    wake_.wait(lock, [&] { return anyWaiting() || urgent(); });
    asleep_ = false;
    wake_.wait_for(lock, gathering_, [&] { return urgent(); });
}

// Returns whether anything has gone out.
bool StderrLog::Writer::writeRound() {
    std::array<pollfd, 2> polled{};
    for (std::size_t i = 0; i < channels_.size(); ++i)
        polled[i] = {channels_[i].hasRest() ? channels_[i].descriptor() : -1, POLLOUT, 0};
    if (poll(polled.data(), polled.size(), kPollMilliseconds) <= 0)
        return false;
    bool wrote = false;
    for (std::size_t i = 0; i < channels_.size(); ++i)
        if (polled[i].revents != 0 && channels_[i].writeSome())
            wrote = true;
    return wrote;
}

void StderrLog::Writer::run() {
    std::unique_lock lock(mutex_);
    while (!abandoned_.load()) {
        for (LogChannel& channel : channels_)
            channel.refill();
        progressed_.notify_all();
        flushing_ = false;
        if (!anyRest()) {
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

StderrLog::StderrLog(Settings settings)
    : writer_(std::make_shared<Writer>(settings)), patience_(settings.patience) {
    const AllSignalsBlocked blocked;
    std::thread thread([writer = writer_] { writer->run(); });
    pthread_setname_np(thread.native_handle(), "log");
    thread.detach();
}

StderrLog::~StderrLog() {
    writer_->flush(patience_);
    writer_->end();
}

void StderrLog::logLine(std::string_view line) {
    writer_->append(0, line, true);
}

void StderrLog::standardOutput(std::string_view text) {
    writer_->append(1, text, false);
}

bool StderrLog::flush(Microseconds patience) {
    return writer_->flush(patience);
}

} // namespace lightpen
