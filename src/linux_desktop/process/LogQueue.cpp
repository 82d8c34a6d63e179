// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LogQueue.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace lightpen {

namespace {

// The first word of an entry: 0 until it is finished, then the length of its arguments and what it is.
using Word = std::uint64_t;
constexpr Word kFinished = Word{1} << 61;
constexpr Word kText = Word{1} << 62;
constexpr Word kGap = Word{1} << 63; // no entry, but the rest of the memory, which has no room for the next
constexpr Word kLength = kFinished - 1;

constexpr Word rounded(std::size_t size) {
    return (size + sizeof(Word) - 1) / sizeof(Word) * sizeof(Word);
}

} // namespace

struct LogQueue::Header {
    Word word = 0;
    const char* format = nullptr;
    LogEntry::Print print = nullptr;
};

// From calloc the pages are the kernel's zeros, and cost nothing before they are used.
LogQueue::LogQueue(std::size_t room)
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): a container would write each zero
    : room_(room), bytes_(static_cast<std::byte*>(std::calloc(room, 1)), std::free) {
    if (!bytes_)
        throw std::bad_alloc();
}

LogQueue::~LogQueue() = default;

void LogQueue::finish(std::uint64_t position, Word word) {
    std::atomic_ref(*reinterpret_cast<Word*>(at(position))).store(word, std::memory_order_release);
}

bool LogQueue::put(const LogEntry& entry) {
    const Word length = entry.arguments.size();
    const Word size = sizeof(Header) + rounded(length);
    auto place = end_.load(std::memory_order_relaxed);
    Word gap = 0;
    do {
        const Word left = room_ - (place & (room_ - 1));
        gap = left < size ? left : 0;
        // A place that others have taken meanwhile may lie behind the writer; the exchange then fails.
        if (place + gap + size > begin_.load(std::memory_order_acquire) + room_)
            return false;
    } while (!end_.compare_exchange_weak(place, place + gap + size));
    if (gap > 0)
        finish(place, kFinished | kGap | gap);
    place += gap;
    const Header header{0, entry.format, entry.print};
    std::memcpy(at(place) + sizeof(Word), &header.format, sizeof header - sizeof(Word));
    if (length > 0)
        std::memcpy(at(place) + sizeof header, entry.arguments.data(), length);
    finish(place, kFinished | (entry.sort == LogEntry::Sort::text ? kText : 0) | length);
    return true;
}

void LogQueue::takeAll(const std::function<void(const LogEntry&)>& receive) {
    const auto end = end_.load();
    for (auto place = taken(); place < end; place = taken()) {
        const Word word =
            std::atomic_ref(*reinterpret_cast<Word*>(at(place))).load(std::memory_order_acquire);
        if (word == 0)
            return;
        Word size = word & kLength;
        if ((word & kGap) == 0) {
            Header header;
            std::memcpy(&header, at(place), sizeof header);
            receive({(word & kText) != 0 ? LogEntry::Sort::text : LogEntry::Sort::line,
                     header.format,
                     header.print,
                     {at(place) + sizeof header, size}});
            size = sizeof header + rounded(size);
        }
        std::memset(at(place), 0, size);
        begin_.store(place + size, std::memory_order_release);
    }
}

} // namespace lightpen
