// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <utility>

#include "platform/ServiceRegistry.h"
#include "platform/Platform.h"

namespace lightpen {

class RBIOServiceMatchingServer;

// A call of one member function of an observer that is put together now and made later, any number of times:
// target, operation and a slot for its one argument. Main thread. The observer must outlive its last call.
class Invocation {
public:
    // The call of the observer's member function. The server is the one that will be asked, before each call,
    // whether the observer is still registered.
    template <class Observer, class Declaring>
    requires std::derived_from<Observer, Declaring>
    static std::shared_ptr<Invocation> make(RBIOServiceMatchingServer& server, Observer* observer,
                                            void (Declaring::*selector)(io_iterator_t)) {
        return std::make_shared<Invocation>(server, observer, [observer, selector](io_iterator_t iterator) {
            (observer->*selector)(iterator);
        });
    }

    // For make: the operation follows its own target, this one only names it.
    Invocation(RBIOServiceMatchingServer& server, const void* target,
               std::function<void(io_iterator_t)> operation)
        : server_(server), target_(target), operation_(std::move(operation)) {}

    RBIOServiceMatchingServer& server() const { return server_; } // outlives this
    // The observer's address: to compare and to print, never to follow.
    const void* target() const { return target_; }
    // What the next invoke() passes on; 0 until set.
    void setArgument(io_iterator_t argument) { argument_ = argument; }
    // Makes the call; whether the observer is still registered has been asked before.
    void invoke() const { operation_(argument_); }

private:
    RBIOServiceMatchingServer& server_;
    const void* const target_;
    const std::function<void(io_iterator_t)> operation_;
    io_iterator_t argument_ = 0;
};

using InvocationRef = std::shared_ptr<Invocation>;

// Ties an observer's call to the registry notification that triggers it. The record holds a reference to the
// notification's iterator, so the notification lives exactly as long as the record. Main thread.
class RBIOServiceMatchingRecord {
public:
    // A new record, owned by the caller.
    static std::shared_ptr<RBIOServiceMatchingRecord> recordWithInvocation(InvocationRef invocation,
                                                                           io_iterator_t iterator) {
        return std::make_shared<RBIOServiceMatchingRecord>(std::move(invocation), iterator);
    }

    // Takes a reference of its own to the iterator; the caller keeps the caller's.
    RBIOServiceMatchingRecord(InvocationRef invocation, io_iterator_t iterator)
        : m_Invocation(std::move(invocation)),
          m_Iterator(IOObject::retained(Platform::current().registry, iterator)) {}

    const InvocationRef& invocation() const { return m_Invocation; }

private:
    InvocationRef m_Invocation;
    IOObject m_Iterator;
};

} // namespace lightpen
