// SPDX-License-Identifier: MIT
// Small types for what one thread writes and another reads without a lock of its own around the sequence.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/PriorityInheritance.h"

namespace lightpen {

// Both types stand for the value itself, so they become one and are made from one without a word.
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

// A value of several words (a point) that is never seen half old and half new. A lock is held for the copy
// alone, and lends its holder the priority of whoever waits for it.
template <class Value>
class SharedRecord {
public:
    SharedRecord(Value value = Value()) : value_(std::move(value)) {}
    SharedRecord(const SharedRecord& other) : value_(other.load()) {}
    SharedRecord& operator=(const SharedRecord& other) {
        if (this != &other)
            store(other.load());
        return *this;
    }
    SharedRecord& operator=(Value value) {
        store(std::move(value));
        return *this;
    }
    operator Value() const { return load(); }
    // A copy of the whole value.
    Value load() const {
        const std::lock_guard hold(mutex_);
        return value_;
    }
    // What was there before is destroyed outside the lock.
    void store(Value value) {
        const std::lock_guard hold(mutex_);
        std::swap(value_, value);
    }

private:
    mutable PriorityInheritanceMutex mutex_;
    Value value_;
};

// NOLINTEND(google-explicit-constructor)

// An object that one thread swaps while another uses it: a reader keeps its object alive for as long as it
// holds the copy. std::atomic<std::shared_ptr> would do, but g++ 12's own is reported as a race by tsan.
template <class Object>
using SharedReference = SharedRecord<std::shared_ptr<Object>>;

} // namespace lightpen
