// SPDX-License-Identifier: MIT
#include "kit/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "kit/Pipe.h"
#include "kit/ProgramArguments.h"

namespace lightpen {

namespace {

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& additions) {
    std::vector<std::string> entries;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        if (!additions.contains(text.substr(0, text.find('='))))
            entries.push_back(text);
    }
    for (const auto& [name, value] : additions)
        entries.push_back(name + "=" + value);
    return entries;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, int inheritedDescriptor,
                           const std::map<std::string, std::string>& environment) {
    // Everything that needs memory is done before the fork: the test may have threads.
    auto arguments = command;
    auto entries = environmentWith(environment);
    const auto argumentPointers = pointersTo(arguments);
    const auto entryPointers = pointersTo(entries);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ < 0)
        throw std::runtime_error("cannot fork");
    if (pid_ > 0)
        return;
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent)
        _exit(126);
    const int null = open("/dev/null", O_RDWR);
    for (int standard = 0; standard < 3; ++standard)
        dup2(null, standard);
    if (inheritedDescriptor >= 0)
        fcntl(inheritedDescriptor, F_SETFD, 0);
    execvpe(argumentPointers[0], argumentPointers.data(), entryPointers.data());
    _exit(127);
}

ChildProcess::~ChildProcess() {
    if (pid_ < 0)
        return;
    ::kill(pid_, SIGTERM);
    for (int i = 0; i < 200; ++i) {
        if (waitpid(pid_, nullptr, WNOHANG) == pid_)
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    kill();
}

void ChildProcess::send(int signal) {
    if (pid_ >= 0)
        ::kill(pid_, signal);
}

void ChildProcess::kill() {
    if (pid_ < 0)
        return;
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

int ChildProcess::wait() {
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
