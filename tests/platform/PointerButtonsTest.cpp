// SPDX-License-Identifier: MIT
#include "platform/PointerButtons.h"

#include <gtest/gtest.h>

#include "platform/PointerEvents.h"

namespace lightpen {
namespace {

using Action = PointerButtons::Action;
using Button = PointerButtons::Button;

constexpr Action kDrop{true};
constexpr Action kMove{};

TEST(PointerButtonsTest, PressesAndReleasesPassInPairs) {
    PointerButtons buttons;
    EXPECT_EQ(buttons.apply(kLeftMouseDown), (Action{false, Button::left, true}));
    EXPECT_EQ(buttons.apply(kLeftMouseDragged), kMove);
    EXPECT_EQ(buttons.apply(kRightMouseDown), (Action{false, Button::right, true}));
    EXPECT_EQ(buttons.apply(kLeftMouseUp), (Action{false, Button::left, false}));
    EXPECT_EQ(buttons.apply(kRightMouseUp), (Action{false, Button::right, false}));
}

TEST(PointerButtonsTest, TheReleaseOfAButtonThatIsNotDownIsDropped) {
    PointerButtons buttons;
    EXPECT_EQ(buttons.apply(kLeftMouseUp), kDrop);
    EXPECT_EQ(buttons.apply(kRightMouseUp), kDrop);
    buttons.apply(kLeftMouseDown);
    EXPECT_EQ(buttons.apply(kRightMouseUp), kDrop);
    buttons.apply(kLeftMouseUp);
    EXPECT_EQ(buttons.apply(kLeftMouseUp), kDrop);
}

TEST(PointerButtonsTest, ADragWithoutTheButtonIsAMoveAndPressesNothing) {
    PointerButtons buttons;
    EXPECT_EQ(buttons.apply(kLeftMouseDragged), kMove);
    EXPECT_EQ(buttons.apply(kLeftMouseUp), kDrop);
}

TEST(PointerButtonsTest, UnknownTypesAreDropped) {
    PointerButtons buttons;
    for (const std::uint32_t type : {0u, 5u, 7u, 0xFFFFFFFFu})
        EXPECT_EQ(buttons.apply(type), kDrop);
    for (const std::uint32_t release : {kLeftMouseUp, kRightMouseUp})
        EXPECT_EQ(buttons.apply(release), kDrop) << "nothing is down";
}

} // namespace
} // namespace lightpen
