// SPDX-License-Identifier: MIT
#include "kernel/support/DriverProcess.h"

#include <grp.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace lightpen {

namespace {

std::vector<gid_t> numbersOf(const std::vector<std::string>& groups) {
    std::vector<gid_t> numbers;
    for (const std::string& name : groups)
        if (const group* entry = getgrnam(name.c_str()))
            numbers.push_back(entry->gr_gid);
    return numbers;
}

bool has(const std::string& line, const std::string& text) {
    return line.find(text) != line.npos;
}

std::size_t entriesOf(const std::string& folder) {
    std::error_code gone;
    const std::filesystem::directory_iterator first(folder, gone);
    return gone ? 0 : static_cast<std::size_t>(std::distance(first, std::filesystem::directory_iterator()));
}

} // namespace

DriverProcess::DriverProcess(DriverOptions options) {
    const std::string runtime = home_.file("run");
    std::filesystem::create_directory(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
    // Not the first start: without a panel the window would then come up over the test's own.
    const std::filesystem::path config = home_.file(".config"), own = config / "LightPenNX7";
    std::filesystem::create_directories(own);
    writeFile(own / "settings.ini", "[General]\nWindow%20Shown=true\n" + options.settings);
    for (const std::string& folder :
         {home_.path().string(), runtime, config.string(), own.string(), (own / "settings.ini").string()})
        if (chown(folder.c_str(), options.user, options.user) != 0)
            throw std::runtime_error("the driver's folder cannot be given to its user");
    options.environment.merge(std::map<std::string, std::string>{{"PATH", "/usr/bin:/bin"},
                                                                 {"LANG", "C.UTF-8"},
                                                                 {"HOME", home_.path().string()},
                                                                 {"XDG_RUNTIME_DIR", runtime}});
    std::vector<std::string> command{options.program};
    command.insert(command.end(), options.arguments.begin(), options.arguments.end());
    program_ = std::make_unique<ChildProcess>(
        std::move(command),
        ChildOptions{.environment = std::move(options.environment),
                     .thatEnvironmentOnly = true,
                     .output = log_.writeEnd(),
                     .user = ChildOptions::User{options.user, numbersOf(options.groups)}});
    reader_ = std::thread([this] { readLog(); });
}

DriverProcess::~DriverProcess() {
    end();
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
    }
    reader_.join();
}

// The pipe's writing end stays open here, so its end is no sign; what is left is read once more at the end.
void DriverProcess::readLog() {
    std::string rest;
    for (bool last = false; !last;) {
        pollfd polled{log_.readEnd(), POLLIN, 0};
        poll(&polled, 1, 20);
        const std::string text = log_.readAvailable();
        const std::lock_guard lock(mutex_);
        last = stop_;
        rest += text;
        for (auto end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
            lines_.push_back(rest.substr(0, end));
            rest.erase(0, end + 1);
        }
        newLine_.notify_all();
    }
}

bool DriverProcess::waitFor(const std::string& text, Seconds patience) {
    std::unique_lock lock(mutex_);
    std::size_t looked = next_;
    return newLine_.wait_for(lock, patience, [&] {
        for (; looked < lines_.size(); ++looked) {
            if (has(lines_[looked], text)) {
                next_ = looked + 1;
                return true;
            }
        }
        return false;
    });
}

void DriverProcess::skipLog() {
    const std::lock_guard lock(mutex_);
    next_ = lines_.size();
}

std::size_t DriverProcess::count(const std::string& text) const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(
        std::count_if(lines_.begin(), lines_.end(), [&](const auto& line) { return has(line, text); }));
}

bool DriverProcess::isBehind(const std::string& text, const std::string& other) const {
    const std::lock_guard lock(mutex_);
    const auto last = std::find_if(lines_.rbegin(), lines_.rend(),
                                   [&](const auto& line) { return has(line, text) || has(line, other); });
    return last != lines_.rend() && has(*last, text);
}

std::string DriverProcess::log() const {
    const std::lock_guard lock(mutex_);
    std::string all;
    for (const std::string& line : lines_)
        all += line + "\n";
    return all;
}

std::size_t DriverProcess::openDescriptors() const {
    return entriesOf("/proc/" + std::to_string(pid()) + "/fd");
}

std::size_t DriverProcess::threads() const {
    return entriesOf("/proc/" + std::to_string(pid()) + "/task");
}

long DriverProcess::privateMemory() const {
    std::ifstream file("/proc/" + std::to_string(pid()) + "/smaps_rollup");
    long kilobytes = 0;
    for (std::string word; file >> word;)
        if (word == "Private_Dirty:")
            file >> kilobytes;
    return kilobytes;
}

} // namespace lightpen
