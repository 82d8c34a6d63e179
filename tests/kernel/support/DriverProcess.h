// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "kernel/support/InstalledProgram.h"
#include "kit/ChildProcess.h"
#include "kit/Pipe.h"
#include "kit/TemporaryDirectory.h"

namespace lightpen {

// How the driver program runs: as an ordinary user, who has nothing but these groups and variables.
struct DriverOptions {
    uid_t user = 65534; // and the group of this number
    // What the packaged rule gives a user: the unit, and the pointer device. A group that this system does
    // not have is left out.
    std::vector<std::string> groups = {"plugdev", "input"};
    // Beside PATH, LANG, and HOME and XDG_RUNTIME_DIR, which are new and empty folders of the user's.
    std::map<std::string, std::string> environment = {{"QT_QPA_PLATFORM", "offscreen"}};
    std::string program = installedProgram();
    std::vector<std::string> arguments = {"--log", "stderr"};
    std::string settings = {}; // more lines of the file's section [General]
};

// The driver program, running beside the test with its log in the test's hand. The test must be root. Any
// thread.
class DriverProcess {
public:
    using Seconds = std::chrono::seconds;

    // Returns when the program has been started, not when it is ready for anything.
    explicit DriverProcess(DriverOptions options = {});
    // Asks it to end, insists when that takes too long, and waits for it.
    ~DriverProcess();
    DriverProcess(const DriverProcess&) = delete;
    DriverProcess& operator=(const DriverProcess&) = delete;

    pid_t pid() const { return program_->pid(); }
    // Its user's home folder, which lasts as long as this object.
    const std::filesystem::path& home() const { return home_.path(); }
    // Whether it has not ended yet.
    bool running() { return program_->running(); }
    // Asks it to end and waits for that: its exit status, or -1 when it had to be killed or a signal ended
    // it.
    int end(Seconds patience = Seconds(20)) { return program_->end(patience); }

    // Waits for a line with this text behind the last line that was waited for; later waits look behind it.
    // False when there was none in time; the place is then as before.
    bool waitFor(const std::string& text, Seconds patience = Seconds(20));
    // From here on waitFor looks only at lines that come later.
    void skipLog();
    // Whether the last line with this text stands behind the last one with the other.
    bool isBehind(const std::string& text, const std::string& other) const;
    // How many lines with this text there are since the start.
    std::size_t count(const std::string& text) const;
    // All lines since the start, for a failing test's message.
    std::string log() const;

    // What it holds at the moment.
    std::size_t openDescriptors() const;
    std::size_t threads() const;
    // The memory that it has written to and shares with nobody, in kB; 0 when that cannot be read.
    long privateMemory() const;

private:
    void readLog();

    TemporaryDirectory home_;
    Pipe log_;
    std::unique_ptr<ChildProcess> program_;
    mutable std::mutex mutex_; // guards the lines
    std::condition_variable newLine_;
    std::vector<std::string> lines_;
    std::size_t next_ = 0; // the first line that waitFor looks at
    bool stop_ = false;
    std::thread reader_;
};

} // namespace lightpen
