// SPDX-License-Identifier: MIT
#include "wayland/support/LoginSession.h"

#include <pwd.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

#include "kit/Eventually.h"
#include "kit/Pipe.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {

namespace {

namespace fs = std::filesystem;

constexpr const char* kName = "pupil";
constexpr const char* kUnit = "pupil-session";
constexpr const char* kLog = "/run/pupil-session.log";
// A desktop comes up in ten seconds on an emulated machine that is at rest.
constexpr std::chrono::seconds kPatience{120};

void require(const std::vector<std::string>& command) {
    if (runProgram(command) != 0)
        throw std::runtime_error(command.front() + " fails");
}

std::string fileOf(const fs::path& folder, const std::string& beginning) {
    std::error_code ignored;
    for (const auto& file : fs::directory_iterator(folder, ignored)) {
        const std::string name = file.path().filename().string();
        if (name.starts_with(beginning) && !name.ends_with(".lock"))
            return name;
    }
    return {};
}

} // namespace

GuestUser::GuestUser() {
    require({"useradd", "--create-home", kName});
    const passwd* entry = getpwnam(kName);
    if (!entry)
        throw std::runtime_error("the user is not there");
    number_ = entry->pw_uid;
    home_ = entry->pw_dir;
}

void GuestUser::writeSettings(const std::map<std::string, std::string>& settings) const {
    const fs::path config = home_ / ".config";
    fs::create_directories(config / "LightPenNX7");
    std::string text = "[General]\n";
    for (const auto& [name, value] : settings)
        text += name + "=" + value + "\n";
    writeFile(config / "LightPenNX7" / "settings.ini", text);
    require({"chown", "-R", std::string(kName) + ":", config.string()});
}

LoginSession::LoginSession(const GuestUser& user, const std::vector<std::string>& command,
                           const Environment& environment)
    : user_(user), environment_{{"PATH", "/usr/bin:/bin"},
                                {"LANG", "C.UTF-8"},
                                {"HOME", user.home().string()},
                                {"XDG_SESSION_TYPE", "wayland"}} {
    add(environment);
    writeFile(kLog, "");
    std::vector<std::string> words{"systemd-run", "--quiet", "--collect", "--unit", kUnit};
    for (const std::string& property :
         {std::string("PAMName=guest-session"), std::string("User=") + kName,
          std::string("TTYPath=/dev/tty1"), std::string("StandardInput=tty-force"),
          std::string("TTYReset=yes"), std::string("TTYVHangup=yes"),
          std::string("StandardOutput=append:") + kLog, std::string("StandardError=append:") + kLog,
          std::string("Environment=XDG_SESSION_CLASS=user")})
        words.insert(words.end(), {"--property", property});
    for (const auto& [name, value] : environment_)
        words.insert(words.end(), {"--setenv", name + "=" + value});
    words.insert(words.end(), command.begin(), command.end());
    require(words);
    add({{"XDG_RUNTIME_DIR", user.runtimeFolder().string()},
         {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (user.runtimeFolder() / "bus").string()}});
}

LoginSession::~LoginSession() {
    runProgram({"systemctl", "stop", kUnit});
}

void LoginSession::add(const Environment& environment) {
    for (const auto& [name, value] : environment)
        environment_[name] = value;
}

ChildOptions LoginSession::options(int output) const {
    return {.environment = environment_,
            .thatEnvironmentOnly = true,
            .output = output,
            .user = ChildOptions::User{user_.number(), {}}};
}

std::string LoginSession::run(const std::vector<std::string>& command) const {
    Pipe output;
    ChildProcess program(command, options(output.writeEnd()));
    std::string text;
    const bool ended = eventually(
        [&] {
            text += output.readAvailable();
            return !program.running();
        },
        kPatience);
    text += output.readAvailable();
    if (!ended || program.wait() != 0)
        throw std::runtime_error(command.front() + " fails: " + text);
    return text;
}

std::string LoginSession::awaitFile(const std::string& beginning) const {
    std::string name;
    if (!eventually([&] { return !(name = fileOf(user_.runtimeFolder(), beginning)).empty(); }, kPatience))
        throw std::runtime_error("The session has no " + beginning + ". It wrote:\n" + log());
    return name;
}

std::string LoginSession::log() const {
    return readFile(kLog);
}

} // namespace lightpen
