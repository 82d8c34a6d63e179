// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LinuxSounds.h"

#include <canberra.h>
#include <dlfcn.h>
#include <link.h>

#include <atomic>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <QDir>
#include <QFileInfo>

#include "linux_desktop/files/ApplicationBundle.h"
#include "linux_desktop/process/SignalMask.h"
#include "platform/Log.h"

namespace lightpen {

namespace {

namespace fs = std::filesystem;
using SteadyClock = std::chrono::steady_clock;

// How long the end waits for a call that is under way.
constexpr std::chrono::milliseconds kEndPatience{200};

int noteDriver(dl_phdr_info* library, std::size_t, void* paths) {
    const std::string_view path = library->dlpi_name;
    if (path.find("/libcanberra-") != std::string_view::npos)
        static_cast<std::vector<std::string>*>(paths)->emplace_back(path);
    return 0;
}

// libcanberra unloads its driver with the context, and does not wait for the driver's thread to return from
// its last instructions: they must still be there then.
void keepDriverLoaded() {
    std::vector<std::string> paths;
    ::dl_iterate_phdr(noteDriver, &paths);
    for (const std::string& path : paths)
        ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

} // namespace

bool soundIsPossible() {
    // Somebody has said where sounds go.
    for (const char* name : {"CANBERRA_DRIVER", "PULSE_SERVER", "ALSA_CONFIG_PATH"})
        if (!qEnvironmentVariableIsEmpty(name))
            return true;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    for (const QString& server :
         {runtime + QLatin1String("/pulse/native"), runtime + QLatin1String("/pipewire-0"),
          QStringLiteral("/run/pulse/native")})
        if (QFileInfo::exists(server))
            return true;
    return !QDir(QStringLiteral("/dev/snd")).entryList({QStringLiteral("controlC*")}, QDir::System).isEmpty();
}

// What the sounds and their threads share; it lives as long as the last of them.
class LinuxSounds::Player : public std::enable_shared_from_this<Player> {
public:
    explicit Player(Patience patience) : patience_(patience) {}

    // Any thread; never waits for the output.
    void play(const std::string& file);
    void end();

private:
    void playInTurn(const std::string& file, SteadyClock::time_point asked);
    int playNow(const std::string& file);
    void takeProblem(const char* problem);

    const Patience patience_;
    std::atomic<int> waiting_{0};
    std::atomic<bool> ending_{false};
    std::timed_mutex turn_; // around what follows
    std::unique_ptr<ca_context, int (*)(ca_context*)> context_{nullptr, ca_context_destroy};
    SteadyClock::time_point silentUntil_{};
    bool problemLogged_ = false;
};

void LinuxSounds::Player::play(const std::string& file) {
    if (++waiting_ > kMostWaiting) {
        --waiting_;
        return;
    }
    const AllSignalsBlocked inherited;
    try {
        std::thread([self = shared_from_this(), file, asked = SteadyClock::now()] {
            self->playInTurn(file, asked);
        }).detach();
    } catch (const std::system_error&) {
        --waiting_; // a machine that has no thread left for a beep
    }
}

void LinuxSounds::Player::playInTurn(const std::string& file, SteadyClock::time_point asked) {
    const std::lock_guard turn(turn_);
    --waiting_;
    const auto now = SteadyClock::now();
    if (ending_ || now - asked > patience_.mostLate || now < silentUntil_)
        return;
    if (!soundIsPossible())
        takeProblem("there is no sound server");
    else if (const int result = playNow(file); result != CA_SUCCESS)
        takeProblem(ca_strerror(result));
    else
        problemLogged_ = false;
}

int LinuxSounds::Player::playNow(const std::string& file) {
    if (!context_) {
        ca_context* made = nullptr;
        if (const int result = ca_context_create(&made); result != CA_SUCCESS)
            return result;
        context_.reset(made);
    }
    // The server keeps a sound that it has been given once: the next time it begins sooner.
    const int result =
        ca_context_play(context_.get(), 0, CA_PROP_MEDIA_FILENAME, file.c_str(), CA_PROP_MEDIA_ROLE, "event",
                        CA_PROP_APPLICATION_NAME, "LightPenNX7", CA_PROP_EVENT_DESCRIPTION, "Light pen",
                        CA_PROP_CANBERRA_CACHE_CONTROL, "permanent", static_cast<char*>(nullptr));
    keepDriverLoaded();
    // A server that comes later, or again, is only found by a new context.
    if (result != CA_SUCCESS)
        context_.reset();
    return result;
}

void LinuxSounds::Player::takeProblem(const char* problem) {
    silentUntil_ = SteadyClock::now() + patience_.retry;
    if (!ending_ && !std::exchange(problemLogged_, true))
        logLine("Sounds: nothing is heard: %s", problem);
}

void LinuxSounds::Player::end() {
    ending_ = true;
    if (const std::unique_lock turn(turn_, kEndPatience); turn)
        context_.reset();
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

LinuxSounds::LinuxSounds() : LinuxSounds(ApplicationBundle::resourcesOfTheProgram() / "sounds", {}) {}

LinuxSounds::LinuxSounds(fs::path folder, Patience patience)
    : folder_(std::move(folder)), player_(std::make_shared<Player>(patience)) {}

LinuxSounds::~LinuxSounds() {
    player_->end();
}

SoundRef LinuxSounds::soundNamed(std::string_view name) {
    if (name.empty() || name.find('/') != std::string_view::npos)
        return nullptr; // a name, not a way out of the folder
    const auto file = folder_ / (std::string(name) + ".wav");
    std::error_code unreadable;
    if (fs::is_regular_file(file, unreadable))
        return std::make_shared<FileSound>(std::string(name), file.string(), player_);
    const std::lock_guard hold(mutex_);
    if (missing_.insert(file.string()).second)
        logLine("Sounds: there is no %s", file.c_str());
    return nullptr;
}

} // namespace lightpen
