// SPDX-License-Identifier: MIT
// Small types for what one thread writes and another reads without a lock of its own around the sequence.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "platform/PriorityInheritance.h"

namespace lightpen {

// All of them stand for the value itself, so they become one and are made from one without a word.
// NOLINTBEGIN(google-explicit-constructor)

// A plain word shared by several threads: each read and each write is single and whole, nothing more is
// promised.
template <class Value>
class SharedValue {
public:
    constexpr SharedValue(Value value = Value()) noexcept : value_(value) {}
    SharedValue(const SharedValue& other) noexcept : value_(other.load()) {}
    SharedValue& operator=(const SharedValue& other) noexcept {
        store(other.load());
        return *this;
    }
    SharedValue& operator=(Value value) noexcept {
        store(value);
        return *this;
    }
    operator Value() const noexcept { return load(); }
    // Relaxed, as store is: nothing else becomes visible with the word.
    Value load() const noexcept { return value_.load(std::memory_order_relaxed); }
    void store(Value value) noexcept { value_.store(value, std::memory_order_relaxed); }

private:
    std::atomic<Value> value_;
};

using SharedWord = SharedValue<int>;
using SharedFlag = SharedValue<bool>;

// A value of several words (a point) that is never seen half old and half new. A reader takes a copy without
// a lock, and looks whether somebody has written meanwhile. Only then it takes the lock, which lends the
// writer its priority: nobody repeats a copy for as long as a writer is put aside.
template <class Value>
class SharedRecord {
    static_assert(std::is_trivially_copyable_v<Value>);

public:
    SharedRecord(Value value = Value()) { write(value); }
    SharedRecord(const SharedRecord& other) : SharedRecord(other.load()) {}
    SharedRecord& operator=(const SharedRecord& other) {
        if (this != &other)
            store(other.load());
        return *this;
    }
    SharedRecord& operator=(Value value) {
        store(value);
        return *this;
    }
    operator Value() const { return load(); }
    // A copy of the whole value.
    Value load() const {
        const auto before = writes_.load(std::memory_order_acquire);
        Value copy = read();
        if (before % 2 != 0 || writes_.load(std::memory_order_relaxed) != before) {
            const std::lock_guard hold(mutex_);
            copy = read();
        }
        return copy;
    }
    void store(Value value) {
        const std::lock_guard hold(mutex_);
        const auto before = writes_.load(std::memory_order_relaxed);
        writes_.store(before + 1, std::memory_order_relaxed);
        write(value);
        writes_.store(before + 2, std::memory_order_release);
    }

private:
    using Word = std::uintptr_t;
    using Words = std::array<Word, (sizeof(Value) + sizeof(Word) - 1) / sizeof(Word)>;

// An empty optional has bytes without a value; they are copied like the others, and nobody looks at them.
#ifndef __clang__ // which has no such warning
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
    // Whoever reads a new word sees that somebody writes, since that was said before.
    void write(const Value& value) {
        Words words{};
        std::memcpy(words.data(), &value, sizeof value);
        for (std::size_t i = 0; i < words.size(); ++i)
            words_[i].store(words[i], std::memory_order_release);
    }
#ifndef __clang__
#pragma GCC diagnostic pop
#endif
    // Word by word to where each belongs: whoever looks at one would otherwise wait until a copy of all of
    // them has left the processor's store buffer.
    Value read() const {
        Value value;
        for (std::size_t i = 0; i < words_.size(); ++i) {
            const Word word = words_[i].load(std::memory_order_acquire);
            const std::size_t at = i * sizeof word;
            std::memcpy(reinterpret_cast<std::byte*>(&value) + at, &word,
                        std::min(sizeof word, sizeof value - at));
        }
        return value;
    }

    mutable PriorityInheritanceMutex mutex_;
    std::atomic<unsigned> writes_{0}; // odd while somebody writes
    std::array<std::atomic<Word>, Words().size()> words_{};
};

// An object that one thread swaps while another uses it: a reader keeps its object alive for as long as it
// holds the copy. The lock is held for the copy alone, and lends its holder the priority of whoever waits for
// it. std::atomic<std::shared_ptr> would do, but it lends nothing.
template <class Object>
class SharedReference {
public:
    using Reference = std::shared_ptr<Object>;

    SharedReference(Reference reference = nullptr)
        : reference_(std::move(reference)), object_(reference_.get()) {}
    SharedReference(const SharedReference& other) : SharedReference(other.load()) {}
    SharedReference& operator=(const SharedReference& other) {
        if (this != &other)
            store(other.load());
        return *this;
    }
    SharedReference& operator=(Reference reference) {
        store(std::move(reference));
        return *this;
    }
    operator Reference() const { return load(); }
    // Null costs no lock.
    Reference load() const {
        if (isNull())
            return nullptr;
        const std::lock_guard hold(mutex_);
        return reference_;
    }
    bool isNull() const { return !object_.load(std::memory_order_acquire); }
    // Brings a copy up to date that the caller keeps, without a lock where it is. The object lives until then
    // at least.
    void renew(Reference& copy) const {
        if (object_.load(std::memory_order_acquire) != copy.get())
            copy = load();
    }
    // What was there before is released outside the lock.
    void store(Reference reference) {
        const std::lock_guard hold(mutex_);
        object_.store(reference.get(), std::memory_order_release);
        std::swap(reference_, reference);
    }

private:
    mutable PriorityInheritanceMutex mutex_;
    Reference reference_;
    std::atomic<Object*> object_; // the reference's, for whoever only looks
};

// NOLINTEND(google-explicit-constructor)

} // namespace lightpen
