// SPDX-License-Identifier: MIT
#include "platform/IOHID.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

std::vector<std::uint8_t> counted(std::size_t length) {
    std::vector<std::uint8_t> bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<std::uint8_t>(i + 1);
    return bytes;
}

TEST(IOHIDTest, AnEventHoldsTheReportAtItsDeclaredLength) {
    const auto report = counted(100);
    const IOHIDEventStruct event = inputReportEvent(3, report, 100, 42);
    EXPECT_EQ(event.elementCookie, 3u);
    EXPECT_EQ(event.timestamp, 42u);
    EXPECT_EQ(event.longValueSize, 100u);
    EXPECT_EQ(event.longValue, report);
}

TEST(IOHIDTest, ShortReportsArePaddedAndLongOnesCut) {
    for (const std::size_t sent : {0u, 1u, 8u, 9u, 64u, 804u})
        for (const std::size_t declared : {0u, 8u, 32u, 64u, 300u}) {
            const IOHIDEventStruct event = inputReportEvent(1, counted(sent), declared, 0);
            EXPECT_EQ(event.longValueSize, declared);
            ASSERT_EQ(event.longValue.size(), std::max<std::size_t>(declared, 64));
            for (std::size_t i = 0; i < event.longValue.size(); ++i)
                ASSERT_EQ(event.longValue[i], i < std::min(sent, declared) ? (i + 1) % 256 : 0);
        }
}

} // namespace
} // namespace lightpen
