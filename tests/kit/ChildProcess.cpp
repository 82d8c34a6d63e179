// SPDX-License-Identifier: MIT
#include "kit/ChildProcess.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

#include "kit/Eventually.h"
#include "kit/Pipe.h"
#include "kit/ProgramArguments.h"
#include "platform/FileDescriptor.h"

namespace lightpen {

namespace {

std::vector<std::string> entriesOf(const ChildOptions& options) {
    std::vector<std::string> entries;
    for (char** entry = environ; !options.thatEnvironmentOnly && *entry; ++entry) {
        const std::string text = *entry;
        if (!options.environment.contains(text.substr(0, text.find('='))))
            entries.push_back(text);
    }
    for (const auto& [name, value] : options.environment)
        entries.push_back(name + "=" + value);
    return entries;
}

bool become(const ChildOptions::User& user) {
    return setgroups(user.groups.size(), user.groups.data()) == 0 &&
           setresgid(user.number, user.number, user.number) == 0 &&
           setresuid(user.number, user.number, user.number) == 0;
}

} // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, const ChildOptions& options) {
    // Everything that needs memory is done before the fork: the test may have threads.
    auto entries = entriesOf(options);
    const auto argumentPointers = pointersTo(command);
    const auto entryPointers = pointersTo(entries);
    // The path may lie in root's own folder.
    FileDescriptor program;
    if (options.user && !(program = FileDescriptor(open(argumentPointers[0], O_RDONLY | O_CLOEXEC))))
        throw std::runtime_error("there is no program " + command.front());
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ < 0)
        throw std::runtime_error("cannot fork");
    if (pid_ > 0)
        return;
    const int null = open("/dev/null", O_RDWR);
    const int output = options.output >= 0 ? options.output : null;
    if (dup2(null, 0) != 0 || dup2(output, 1) != 1 || dup2(output, 2) != 2 ||
        (options.user && !become(*options.user)))
        _exit(127);
    // A change of user takes back what was asked for before. One of another user is not asked to end.
    prctl(PR_SET_PDEATHSIG, options.user ? SIGKILL : SIGTERM);
    if (getppid() != parent)
        _exit(126);
    if (options.inherited >= 0)
        fcntl(options.inherited, F_SETFD, 0);
    if (program)
        fexecve(program.get(), argumentPointers.data(), entryPointers.data());
    else
        execvpe(argumentPointers[0], argumentPointers.data(), entryPointers.data());
    _exit(127);
}

// Whether it has ended; the flags are those of waitpid.
bool ChildProcess::reap(int flags) {
    int status = 0;
    if (!ended_ && retryInterrupted([&] { return waitpid(pid_, &status, flags); }) == pid_) {
        ended_ = true;
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return ended_;
}

void ChildProcess::send(int signal) {
    if (running())
        ::kill(pid_, signal);
}

void ChildProcess::kill() {
    send(SIGKILL);
    wait();
}

int ChildProcess::wait() {
    reap(0);
    return status_;
}

int ChildProcess::end(std::chrono::seconds patience) {
    send(SIGTERM);
    eventually([this] { return !running(); },
               [] { std::this_thread::sleep_for(std::chrono::milliseconds(10)); }, patience);
    kill();
    return status_;
}

int runProgram(const std::vector<std::string>& command,
               const std::map<std::string, std::string>& environment) {
    return ChildProcess(command, -1, environment).wait();
}

std::string startAndReadLine(std::unique_ptr<ChildProcess>& child, std::vector<std::string> command) {
    Pipe pipe;
    for (std::string& argument : command)
        if (const auto at = argument.find("%fd%"); at != argument.npos)
            argument.replace(at, 4, std::to_string(pipe.writeEnd()));
    child = std::make_unique<ChildProcess>(command, pipe.writeEnd());
    std::string line = pipe.readUntil("\n");
    if (!line.ends_with('\n'))
        return {};
    line.pop_back();
    return line;
}

} // namespace lightpen
