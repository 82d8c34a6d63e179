// SPDX-License-Identifier: MIT
#include "linux_desktop/process/LogChannel.h"

#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/FileDescriptor.h"

namespace lightpen {

namespace {

constexpr std::size_t kNoteRoom = 128;

// Into the room that is kept for it: the writer asks for no memory.
void addLossNote(std::string& text, std::size_t lost) {
    text += "Log: ";
    text += std::to_string(lost);
    text += lost == 1 ? " line was" : " lines were";
    text += " lost here, they came faster than they were read\n";
}

} // namespace

LogChannel::LogChannel(int descriptor, std::size_t capacity, Taker taker)
    : descriptor_(descriptor), taker_(std::move(taker)), capacity_(capacity) {
    waiting_.reserve(capacity_ + kNoteRoom);
    writing_.reserve(capacity_ + kNoteRoom);
}

void LogChannel::append(std::string_view text, bool lineBreak) {
    ++received_;
    if (lost_ > 0 || waiting_.size() + text.size() + 1 > capacity_) {
        ++lost_;
        return;
    }
    waiting_ += text;
    if (lineBreak)
        waiting_ += '\n';
}

void LogChannel::lose(std::size_t count) {
    received_ += count;
    lost_ += count;
}

void LogChannel::refill() {
    if (hasRest())
        return;
    settled_ = taken_;
    writing_.clear();
    writing_.swap(waiting_);
    taken_ = received_;
    if (lost_ > 0)
        addLossNote(writing_, lost_);
    lost_ = 0;
    rest_ = writing_;
}

bool LogChannel::writeSome() {
    std::string_view piece = rest_.substr(0, PIPE_BUF);
    if (piece.size() == PIPE_BUF)
        if (const auto lineBreak = piece.rfind('\n'); lineBreak != std::string_view::npos)
            piece = piece.substr(0, lineBreak + 1);
    auto count = static_cast<ssize_t>(piece.size());
    if (taker_)
        taker_(piece);
    else
        count = retryInterrupted([&] { return ::write(descriptor_, piece.data(), piece.size()); });
    if (count < 0 && errno == EAGAIN)
        return false;
    rest_.remove_prefix(count < 0 ? rest_.size() : static_cast<std::size_t>(count));
    return count != 0;
}

} // namespace lightpen
