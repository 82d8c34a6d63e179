// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace lightpen {

// The text that waits to be written to one end. Two buffers take turns: one is filled while the other is
// written. Both are allocated once. Not thread-safe; its owner says who may call what.
class LogChannel {
public:
    // Takes all of a text that it is given.
    using Taker = std::function<void(std::string_view)>;

    // Writes to the descriptor, which is not owned, or, with -1, to the taker. The capacity is what may wait,
    // in bytes.
    LogChannel(int descriptor, std::size_t capacity, Taker taker = {});

    // Under the owner's lock: appends the text and, if asked, a line break. What does not fit is
    // counted and dropped, with everything behind it until the writer has made room.
    void append(std::string_view text, bool lineBreak);
    // The same for so many texts that were dropped before they came here.
    void lose(std::size_t count);
    // How many texts have come so far, lost ones included.
    std::uint64_t received() const { return received_; }

    // Writer, under the owner's lock: once all is written, takes what has come meanwhile.
    void refill();
    // How many of the received texts are dealt with: written, or lost and reported.
    std::uint64_t settled() const { return settled_; }

    // Writer, without the lock: whether there is something to write, and to where.
    bool hasRest() const { return !rest_.empty(); }
    int descriptor() const { return descriptor_; } // not owned; -1: there is none to wait for
    // Writes some whole lines, or a piece of a very long one, for which a pipe that polls as writable has
    // room. What can never be written, since the other end is closed, is dropped. Returns whether the rest
    // has become shorter.
    bool writeSome();

private:
    const int descriptor_;
    const Taker taker_;
    const std::size_t capacity_;
    std::string waiting_;
    std::size_t lost_ = 0;
    std::uint64_t received_ = 0;
    std::string writing_;
    std::string_view rest_;   // of writing_
    std::uint64_t taken_ = 0; // received_ when writing_ was filled
    std::uint64_t settled_ = 0;
};

} // namespace lightpen
