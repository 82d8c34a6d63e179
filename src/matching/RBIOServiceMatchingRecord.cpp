// SPDX-License-Identifier: MIT
#include "matching/RBIOServiceMatchingRecord.h"

#include <utility>

#include "platform/Platform.h"

namespace lightpen {

std::shared_ptr<RBIOServiceMatchingRecord>
RBIOServiceMatchingRecord::recordWithInvocation(InvocationRef invocation, io_iterator_t iterator) {
    return std::make_shared<RBIOServiceMatchingRecord>(std::move(invocation), iterator);
}

RBIOServiceMatchingRecord::RBIOServiceMatchingRecord(InvocationRef invocation, io_iterator_t iterator)
    : m_Invocation(std::move(invocation)), m_Iterator(iterator) {
    Platform::current().registry.IOObjectRetain(m_Iterator);
}

RBIOServiceMatchingRecord::~RBIOServiceMatchingRecord() {
    Platform::current().registry.IOObjectRelease(m_Iterator);
}

} // namespace lightpen
