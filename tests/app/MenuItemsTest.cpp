// SPDX-License-Identifier: MIT
#include "app/MenuItems.h"

#include <limits>

#include <gtest/gtest.h>

#include <QAction>

#include "kit/device/OffscreenApplication.h"

namespace lightpen {
namespace {

TEST(MenuItemsTest, TitlesComeBackAsTheyWere) {
    ensureOffscreenApplication();
    for (const char* title : {"", "Exit", "A & B", "&", "&&", "Rock&&Roll & more", "设置…"}) {
        const QAction item(itemText(title));
        EXPECT_EQ(titleOf(item), title);
    }
    EXPECT_EQ(itemText("A & B"), "A && B"); // a single one would underline the next letter
}

TEST(MenuItemsTest, NumbersAtTheirPlaces) {
    const PropertyListArray list{{std::int64_t{46}},
                                 {-23.9},
                                 {std::string("12")},
                                 {std::numeric_limits<double>::quiet_NaN()},
                                 {1e300},
                                 {true}};
    EXPECT_EQ(integerAt(list, 0), 46);
    EXPECT_EQ(integerAt(list, 1), -23);
    for (const int none : {2, 3, 4, 5, 6, -1})
        EXPECT_EQ(integerAt(list, none), std::nullopt) << none;
    EXPECT_EQ(integerAt({}, 0), std::nullopt);
}

} // namespace
} // namespace lightpen
