// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace lightpen {

// A program that runs beside the test and ends with it, however the test ends. Its messages are thrown away.
class ChildProcess {
public:
    // Descriptors below 3 and this one stay open in the program; -1 for none.
    ChildProcess(const std::vector<std::string>& command, int inheritedDescriptor,
                 const std::map<std::string, std::string>& environment = {});
    // Asks it to end, insists after two seconds, and waits for it.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Sends it a signal.
    void send(int signal);
    // Ends it at once and waits for it.
    void kill();
    // Waits until it has ended by itself; its exit status, -1 when a signal ended it.
    int wait();

private:
    pid_t pid_ = -1;
};

// Runs a program to its end and returns its exit status; -1 when it did not exit by itself.
int runProgram(const std::vector<std::string>& command,
               const std::map<std::string, std::string>& environment = {});

// Starts a program that writes one line to a descriptor when it is ready, and returns that line; empty when
// there was none in ten seconds. The descriptor's number stands for %fd% in the command.
std::string startAndReadLine(std::unique_ptr<ChildProcess>& child, std::vector<std::string> command);

} // namespace lightpen
