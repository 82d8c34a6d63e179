// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <type_traits>

#include <pthread.h>

namespace lightpen {

// A mutex whose holder runs at the priority of whoever waits for it. The point thread shares locks with
// ordinary threads. One of these that had to make room within the few steps it has the lock for would
// otherwise hold up the pen until everything between the two priorities has had its turn. It is used like the
// mutex that it is made from, with conditions too. Where the kernel cannot lend priorities it is just that.
template <class Mutex>
class PriorityInheriting final : public Mutex {
public:
    PriorityInheriting() {
        constexpr bool recursive = std::is_same_v<Mutex, std::recursive_mutex>;
        static_assert(recursive || std::is_same_v<Mutex, std::mutex>);
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_DEFAULT);
        pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
        // Fails before it has changed anything.
        pthread_mutex_init(this->native_handle(), &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    // It holds nothing that would have to be given back, no more than the mutex that it is made from.
    ~PriorityInheriting() = default;
    PriorityInheriting(const PriorityInheriting&) = delete;
    PriorityInheriting& operator=(const PriorityInheriting&) = delete;
};

using PriorityInheritanceMutex = PriorityInheriting<std::mutex>;
using PriorityInheritanceRecursiveMutex = PriorityInheriting<std::recursive_mutex>;

} // namespace lightpen
