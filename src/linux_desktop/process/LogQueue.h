// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/LogEntry.h"

namespace lightpen {

// What callers have logged and the writer has not come to yet. A caller takes a place by one exchange of a
// word, copies its entry there, and waits for nobody: neither for another caller nor for the writer. The
// memory is allocated once, and used round and round.
class LogQueue {
public:
    // The room in bytes, a power of two; an entry takes 24 more than its arguments have.
    explicit LogQueue(std::size_t room);
    ~LogQueue();
    LogQueue(const LogQueue&) = delete;
    LogQueue& operator=(const LogQueue&) = delete;

    // Any thread: copies the entry to the end; false when there is no room for it.
    bool put(const LogEntry& entry);
    // Where the queue ends now, counted in bytes since its beginning. Any thread.
    std::uint64_t end() const { return end_.load(); }

    // Writer: gives away one entry after the other, those that were put before the call. It stops at one that
    // its caller has not finished yet.
    void takeAll(const std::function<void(const LogEntry&)>& receive);
    // Where the writer stands, counted in the same way.
    std::uint64_t taken() const { return begin_.load(std::memory_order_relaxed); }
    // Whether the writer has all that was put before the call, unfinished entries included.
    bool isEmpty() const { return taken() == end(); }

private:
    struct Header;
    void finish(std::uint64_t position, std::uint64_t word);
    std::byte* at(std::uint64_t position) const { return bytes_.get() + (position & (room_ - 1)); }

    const std::size_t room_;
    // Zeros wherever there is no entry.
    const std::unique_ptr<std::byte[], void (*)(void*)> bytes_;
    // Apart from each other, since callers write one and the writer the other.
    alignas(64) std::atomic<std::uint64_t> end_{0};
    alignas(64) std::atomic<std::uint64_t> begin_{0};
};

} // namespace lightpen
