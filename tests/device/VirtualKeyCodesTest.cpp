// SPDX-License-Identifier: MIT
#include "device/VirtualKeyCodes.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

TEST(VirtualKeyCodesTest, KeysThatTheSystemActsOn) {
    EXPECT_EQ(virtualKeyCode(Qt::Key_Z), 6);
    EXPECT_EQ(virtualKeyCode(Qt::Key_C), 8);
    EXPECT_EQ(virtualKeyCode(Qt::Key_Backspace), 51);
    EXPECT_EQ(virtualKeyCode(Qt::Key_Delete), 51);
    EXPECT_EQ(virtualKeyCode(Qt::Key_Escape), 53);
}

TEST(VirtualKeyCodesTest, OthersHaveNoCodeThatAnyOfTheseHas) {
    for (const int key : {0, 0x41, 0x7A, 0x63, 53, 51, 6, 8, 0x01000001, 0x01000004, -1, 0x7FFFFFFF})
        EXPECT_EQ(virtualKeyCode(key), kNoVirtualKey) << key;
}

TEST(VirtualKeyCodesTest, PlacesOfTheKeysThatAreLetters) {
    EXPECT_EQ(virtualKeyCodeAtPlace(52), 6);
    EXPECT_EQ(virtualKeyCodeAtPlace(54), 8);
    for (const std::uint32_t place : {0U, 6U, 8U, 22U, 51U, 53U, 55U, 0xFFFF'FFFFU})
        EXPECT_EQ(virtualKeyCodeAtPlace(place), kNoVirtualKey) << place;
}

} // namespace
} // namespace lightpen
