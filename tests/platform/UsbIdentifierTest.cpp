// SPDX-License-Identifier: MIT
#include "platform/UsbIdentifier.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

TEST(UsbIdentifier, IsWrittenAsTwoHexadecimalNumbers) {
    EXPECT_EQ(usbIdentifierNamed("1209:0001"), (UsbIdentifier{0x1209, 1}));
    EXPECT_EQ(usbIdentifierNamed("aB:F"), (UsbIdentifier{0xAB, 0xF}));
    EXPECT_EQ(usbIdentifierNamed("0:ffff"), (UsbIdentifier{0, 0xFFFF}));
    for (const char* other : {"", ":", "1209", "1209:", ":0001", "1209:0001:2", "0x1209:0001", "12g9:0001",
                              "1209:00001", "10000:1", "-1:1", "+1:1", " 1:1", "1:1 ", "1 :1"})
        EXPECT_EQ(usbIdentifierNamed(other), std::nullopt) << other;
}

} // namespace
} // namespace lightpen
