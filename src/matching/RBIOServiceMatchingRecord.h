// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <utility>

#include "platform/Platform.h"
#include "platform/ServiceRegistry.h"

namespace lightpen {

class RBIOServiceMatchingServer;

// A call of one member function of an observer that is put together now and made later, any number of times.
// Main thread. The observer must outlive its last call.
class Invocation {
public:
    // The call of the observer's member function. The server is the one that will be asked, before each call,
    // whether the observer is still registered.
    template <class Declaring, std::derived_from<Declaring> Observer>
    Invocation(RBIOServiceMatchingServer& server, Observer* observer,
               void (Declaring::*selector)(io_iterator_t))
        : server_(server), target_(observer),
          operation_([=](io_iterator_t iterator) { (observer->*selector)(iterator); }) {}

    RBIOServiceMatchingServer& server() const { return server_; } // outlives this
    // The observer's address: to compare and to print, never to follow.
    const void* target() const { return target_; }
    // Makes the call; whether the observer is still registered has been asked before.
    void invoke(io_iterator_t argument) const { operation_(argument); }

private:
    RBIOServiceMatchingServer& server_;
    const void* const target_;
    const std::function<void(io_iterator_t)> operation_;
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
