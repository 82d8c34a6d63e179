// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "matching/Invocation.h"
#include "platform/IORegistry.h"

namespace lightpen {

// Ties an observer's call to the registry notification that triggers it. The record holds a reference to the
// notification's iterator, so the notification lives exactly as long as the record. Main thread.
class RBIOServiceMatchingRecord {
public:
    // A new record, owned by the caller.
    static std::shared_ptr<RBIOServiceMatchingRecord> recordWithInvocation(InvocationRef invocation,
                                                                           io_iterator_t iterator);

    // Takes a reference of its own to the iterator; the caller keeps the caller's.
    RBIOServiceMatchingRecord(InvocationRef invocation, io_iterator_t iterator);
    ~RBIOServiceMatchingRecord();
    RBIOServiceMatchingRecord(const RBIOServiceMatchingRecord&) = delete;
    RBIOServiceMatchingRecord& operator=(const RBIOServiceMatchingRecord&) = delete;

    const InvocationRef& invocation() const { return m_Invocation; }

private:
    InvocationRef m_Invocation;
    io_iterator_t m_Iterator;
};

} // namespace lightpen
