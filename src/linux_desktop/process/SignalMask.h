// SPDX-License-Identifier: MIT
#pragma once

#include <pthread.h>
#include <signal.h>

namespace lightpen {

// Keeps every signal away from the calling thread, and from the threads it starts meanwhile: signals are for
// the others, above all the one of a closed pipe, which would end the process.
class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &previous_);
    }
    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

private:
    sigset_t previous_{};
};

} // namespace lightpen
