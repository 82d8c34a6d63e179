// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <QProcess>

namespace lightpen {

// The environment of a user with this home and nothing else of their own, in English.
std::map<std::string, std::string> environmentOf(const std::filesystem::path& home);

// The application with a unit in software, as a process: started with an environment of its own, given
// commands for its unit, ended as a desktop would. Each wait handles events meanwhile, so there must
// be an application object. Main thread.
class ApplicationProcess {
public:
    explicit ApplicationProcess(std::string program);
    // Kills a program that still runs.
    ~ApplicationProcess();
    ApplicationProcess(const ApplicationProcess&) = delete;
    ApplicationProcess& operator=(const ApplicationProcess&) = delete;

    // Starts it, beside what this process's environment says. Returns what went wrong, empty when nothing
    // did. Once it has ended it may be started again, with an empty log.
    std::string start(const std::vector<std::string>& arguments,
                      const std::map<std::string, std::string>& environment = {});
    // 0 while it does not run.
    std::uint32_t processId() const { return static_cast<std::uint32_t>(process_.processId()); }
    bool running() const { return process_.state() != QProcess::NotRunning; }

    // Sends a command for the unit and waits for its answer; none when none comes.
    std::optional<std::string> ask(const std::string& command);
    // Whether the answer to the command begins with "ok".
    bool perform(const std::string& command);
    // Whether the unit and the driver are in this state now, such as "ready=yes".
    bool isIn(const std::string& state);
    // Sends a command and does not wait for the answer, which is thrown away when it comes.
    void tell(const std::string& command);

    // What it has logged so far.
    const std::string& log() const { return log_; }
    // Waits until the log has this text behind that place of it; false when it does not come.
    bool waitForLog(const std::string& text, std::size_t behind = 0);

    // There will be no more commands.
    void endInput() { process_.closeWriteChannel(); }
    // Sends it a signal.
    void send(int signal);
    // Waits until it has ended; its exit status, none when it did not end or a signal ended it.
    std::optional<int> waitForEnd();

private:
    void read();
    void write(const std::string& command);

    const std::string program_;
    QProcess process_;
    std::string log_;
    std::deque<std::string> answers_;
    int unwanted_ = 0; // answers to come that nobody waits for
};

} // namespace lightpen
