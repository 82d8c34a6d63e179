// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>
#include <sys/wait.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lightpen {

// How a program beside the test is started.
struct ChildOptions {
    // For another user, who has nothing but these groups. The test must be root.
    struct User {
        uid_t number = 0; // and the group of this number
        std::vector<gid_t> groups;
    };
    std::map<std::string, std::string> environment = {}; // beside this process's own
    bool thatEnvironmentOnly = false;
    int inherited = -1; // this descriptor stays open in the program
    int output = -1;    // where its messages go; -1: they are thrown away
    std::optional<User> user = std::nullopt;
};

// A program that runs beside the test and ends with it, however the test ends. One thread at a time.
class ChildProcess {
public:
    // The program is looked for in PATH; one for another user is given by its path, which that user need not
    // be able to walk. Throws when there is no such path or no process.
    explicit ChildProcess(std::vector<std::string> command, const ChildOptions& options = {});
    // Descriptors below 3 and this one stay open in the program; -1 for none.
    ChildProcess(const std::vector<std::string>& command, int inheritedDescriptor,
                 const std::map<std::string, std::string>& environment = {})
        : ChildProcess(command, ChildOptions{.environment = environment, .inherited = inheritedDescriptor}) {}
    // Asks it to end, insists after two seconds, and waits for it.
    ~ChildProcess() { end(std::chrono::seconds(2)); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Its number, also when it has ended.
    pid_t pid() const { return pid_; }
    // Whether it has not ended yet.
    bool running() { return !reap(WNOHANG); }
    // Sends it a signal, if it has not ended.
    void send(int signal);
    // Ends it at once and waits for it.
    void kill();
    // Waits until it has ended by itself; its exit status, -1 when a signal ended it.
    int wait();
    // Asks it to end and waits for that; kills it when that takes longer. Its exit status, as above.
    int end(std::chrono::seconds patience);

private:
    bool reap(int flags);

    pid_t pid_ = -1;
    bool ended_ = false;
    int status_ = -1;
};

// Runs a program to its end and returns its exit status; -1 when it did not exit by itself.
int runProgram(const std::vector<std::string>& command,
               const std::map<std::string, std::string>& environment = {});

// Starts a program that writes one line to a descriptor when it is ready, and returns that line; empty when
// there was none in ten seconds. The descriptor's number stands for %fd% in the command.
std::string startAndReadLine(std::unique_ptr<ChildProcess>& child, std::vector<std::string> command);

} // namespace lightpen
