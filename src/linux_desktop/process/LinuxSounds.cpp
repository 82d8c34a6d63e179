// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LinuxSounds.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "linux_desktop/files/Resources.h"
#include "linux_desktop/process/SignalMask.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

// How long the end waits for the thread, which is then idle or held up by the sound server.
constexpr std::chrono::milliseconds kEndPatience{200};

} // namespace

// What the sounds and the thread share; it lives as long as the last of them.
class LinuxSounds::Player : public std::enable_shared_from_this<Player> {
public:
    Player(Clock& clock, std::unique_ptr<SoundOutput> output) : clock_(clock), output_(std::move(output)) {}

    // Any thread; never waits for the output.
    void play(const std::string& file);
    // The clock is not touched after it.
    void end();

private:
    struct Request {
        std::string file;
        Microseconds asked;
    };

    bool startThread();
    void run();
    void playNext(std::unique_lock<std::mutex>& lock);
    void take(bool heard, const std::string& problem);

    Clock& clock_;
    const std::unique_ptr<SoundOutput> output_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Request> waiting_;
    Microseconds silentUntil_{0};
    bool problemLogged_ = false;
    bool running_ = false;
    bool ending_ = false;
};

void LinuxSounds::Player::play(const std::string& file) {
    {
        const std::lock_guard hold(mutex_);
        if (ending_ || waiting_.size() >= kMostWaiting || (!running_ && !startThread()))
            return;
        waiting_.push_back({file, clock_.now()});
    }
    changed_.notify_all();
}

bool LinuxSounds::Player::startThread() {
    const AllSignalsBlocked inherited;
    try {
        std::thread([self = shared_from_this()] { self->run(); }).detach();
    } catch (const std::system_error& error) {
        take(false, error.what());
        return false;
    }
    running_ = true;
    return true;
}

void LinuxSounds::Player::end() {
    std::unique_lock lock(mutex_);
    ending_ = true;
    changed_.notify_all();
    changed_.wait_for(lock, kEndPatience, [&] { return !running_; });
}

void LinuxSounds::Player::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [&] { return ending_ || !waiting_.empty(); });
        if (ending_)
            break;
        playNext(lock);
    }
    running_ = false;
    changed_.notify_all();
}

void LinuxSounds::Player::playNext(std::unique_lock<std::mutex>& lock) {
    const Request request = std::move(waiting_.front());
    waiting_.pop_front();
    const auto now = clock_.now();
    if (now - request.asked > kMostLate || now < silentUntil_)
        return;
    std::string problem;
    lock.unlock();
    const bool heard = output_->play(request.file, problem);
    lock.lock();
    if (!ending_)
        take(heard, problem);
}

void LinuxSounds::Player::take(bool heard, const std::string& problem) {
    if (heard) {
        problemLogged_ = false;
        return;
    }
    silentUntil_ = clock_.now() + kRetry;
    if (!std::exchange(problemLogged_, true))
        logLine("Sounds: nothing is heard: %s", problem.c_str());
}

class LinuxSounds::FileSound final : public Sound {
public:
    FileSound(std::string name, std::string file, std::shared_ptr<Player> player)
        : Sound(std::move(name)), file_(std::move(file)), player_(std::move(player)) {}
    void play() override { player_->play(file_); }

private:
    const std::string file_;
    const std::shared_ptr<Player> player_;
};

std::filesystem::path LinuxSounds::programSounds() {
    return resourceFolder() / "sounds";
}

LinuxSounds::LinuxSounds(Clock& clock, std::unique_ptr<SoundOutput> output, std::filesystem::path folder)
    : folder_(std::move(folder)), player_(std::make_shared<Player>(clock, std::move(output))) {}

LinuxSounds::~LinuxSounds() {
    player_->end();
}

SoundRef LinuxSounds::soundNamed(std::string_view name) {
    if (name.empty() || name.find('/') != std::string_view::npos)
        return nullptr; // a name, not a way out of the folder
    const auto file = folder_ / (std::string(name) + ".wav");
    std::error_code unreadable;
    if (!std::filesystem::is_regular_file(file, unreadable)) {
        missing(file.string());
        return nullptr;
    }
    return std::make_shared<FileSound>(std::string(name), file.string(), player_);
}

void LinuxSounds::missing(const std::string& file) {
    const std::lock_guard hold(mutex_);
    if (missing_.insert(file).second)
        logLine("Sounds: there is no %s", file.c_str());
}

} // namespace lightpen
