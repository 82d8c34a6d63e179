// SPDX-License-Identifier: MIT
#include "measure/Load.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "platform/FileDescriptor.h"

namespace lightpen {

namespace {

constexpr int kBusyForEach = 2; // processor
constexpr long kLargestFile = 64L << 20;

[[noreturn]] void compute() {
    for (volatile unsigned long count = 0;;) {
        const unsigned long next = count + 1;
        count = next;
    }
}

[[noreturn]] void writeOn(int file) {
    static const std::array<char, 1 << 20> kBlock{};
    for (long written = 0;; written += static_cast<long>(kBlock.size())) {
        if (written >= kLargestFile) {
            written = 0;
            if (lseek(file, 0, SEEK_SET) != 0)
                _exit(EXIT_FAILURE);
        }
        if (write(file, kBlock.data(), kBlock.size()) < 0 || fdatasync(file) != 0)
            _exit(EXIT_FAILURE);
    }
}

// The new process only computes and calls the system: this one may have threads. It has the ordinary
// scheduling whatever this thread has.
template <class Work>
pid_t start(Work work) {
    const pid_t parent = getpid();
    const pid_t made = fork();
    if (made < 0)
        throw std::runtime_error("no process for the load: " + errorText(errno));
    if (made > 0)
        return made;
    const sched_param ordinary{};
    sched_setscheduler(0, SCHED_OTHER, &ordinary);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() == parent)
        work();
    _exit(EXIT_FAILURE);
}

// A file that has lost its name.
FileDescriptor fileIn(const std::string& folder) {
    std::string name = folder + "/load.XXXXXX";
    FileDescriptor file(mkostemp(name.data(), O_CLOEXEC));
    if (!file || unlink(name.c_str()) != 0)
        throw std::runtime_error("no file for the load in " + folder + ": " + errorText(errno));
    return file;
}

} // namespace

Load::Load(const std::string& folder) {
    for (unsigned processor = 0; processor < std::thread::hardware_concurrency(); ++processor) {
        for (int i = 0; i < kBusyForEach; ++i)
            processes_.push_back(start(compute));
        const FileDescriptor file = fileIn(folder);
        processes_.push_back(start([&] { writeOn(file.get()); }));
    }
}

Load::~Load() {
    for (const pid_t process : processes_)
        kill(process, SIGKILL);
    for (const pid_t process : processes_)
        retryInterrupted([&] { return waitpid(process, nullptr, 0); });
}

} // namespace lightpen
