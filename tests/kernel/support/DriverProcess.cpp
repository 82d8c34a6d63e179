// SPDX-License-Identifier: MIT
#include "kernel/support/DriverProcess.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <stdexcept>

#include "kit/ProgramArguments.h"
#include "platform/FileDescriptor.h"

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
    for (const std::string& folder : {home_.path().string(), runtime})
        if (chown(folder.c_str(), options.user, options.user) != 0)
            throw std::runtime_error("the driver's folder cannot be given to its user");
    // Everything that needs memory is done before the fork: the test may have threads.
    std::vector<std::string> command{options.program};
    auto environment = environmentFor(options);
    const auto commandPointers = pointersTo(command);
    const auto environmentPointers = pointersTo(environment);
    const auto groups = numbersOf(options.groups);
    // The user need not be able to walk to where the program lies: that may be in root's own folder.
    const FileDescriptor program(open(options.program.c_str(), O_RDONLY | O_CLOEXEC));
    if (program.get() < 0)
        throw std::runtime_error("there is no program " + options.program);
    pid_ = fork();
    if (pid_ < 0)
        throw std::runtime_error("cannot fork");
    if (pid_ == 0)
        become(options.user, groups, program.get(), log_.writeEnd(), commandPointers.data(),
               environmentPointers.data());
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

// The signal of the parent's death is asked for last: a change of user takes it back.
void DriverProcess::become(uid_t user, const std::vector<gid_t>& groups, int program, int log,
                           char* const* command, char* const* environment) {
    const int null = open("/dev/null", O_RDONLY);
    const bool ready = null >= 0 && dup2(null, 0) == 0 && dup2(log, 1) == 1 && dup2(log, 2) == 2 &&
                       setgroups(groups.size(), groups.data()) == 0 && setresgid(user, user, user) == 0 &&
                       setresuid(user, user, user) == 0 && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0;
    if (ready)
        fexecve(program, command, environment);
    _exit(127);
}

std::vector<std::string> DriverProcess::environmentFor(const DriverOptions& options) const {
    std::map<std::string, std::string> all{{"PATH", "/usr/bin:/bin"},
                                           {"LANG", "C.UTF-8"},
                                           {"HOME", home_.path().string()},
                                           {"XDG_RUNTIME_DIR", home_.file("run")}};
    for (const auto& [name, value] : options.environment)
        all[name] = value;
    std::vector<std::string> entries;
    for (const auto& [name, value] : all)
        entries.push_back(name + "=" + value);
    return entries;
}

bool DriverProcess::reap(bool wait) {
    int status = 0;
    if (!ended_ && waitpid(pid_, &status, wait ? 0 : WNOHANG) == pid_) {
        ended_ = true;
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return ended_;
}

bool DriverProcess::running() {
    return !reap(false);
}

int DriverProcess::end(Seconds patience) {
    if (!reap(false))
        kill(pid_, SIGTERM);
    const auto until = std::chrono::steady_clock::now() + patience;
    while (!reap(false) && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (!ended_)
        kill(pid_, SIGKILL);
    reap(true);
    return status_;
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
    return entriesOf("/proc/" + std::to_string(pid_) + "/fd");
}

std::size_t DriverProcess::threads() const {
    return entriesOf("/proc/" + std::to_string(pid_) + "/task");
}

} // namespace lightpen
