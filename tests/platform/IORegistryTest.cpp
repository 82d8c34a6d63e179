// SPDX-License-Identifier: MIT
#include "platform/IORegistry.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

TEST(IORegistryTest, PropertiesAreDescribedInOneLine) {
    EXPECT_EQ(describe(Property(std::int64_t{-7})), "-7");
    EXPECT_EQ(describe(Property(std::string("a text"))), "a text");
    EXPECT_EQ(describe(PropertyDictionary()), "{}");
    EXPECT_EQ(describe(Property(std::vector<PropertyDictionary>())), "()");
    const PropertyDictionary element{{{"ReportID", 0}, {"ElementCookie", 12}}};
    EXPECT_EQ(describe(element), "{ElementCookie = 12; ReportID = 0; }");
    EXPECT_EQ(describe(Property(std::vector{element, PropertyDictionary{{{"Name", std::string("x")}}}})),
              "({ElementCookie = 12; ReportID = 0; }, {Name = x; })");
}

TEST(IORegistryTest, AMatchingDictionaryNamesItsClassAlone) {
    const MatchingDictionary matching = IOServiceMatching("IOHIDDevice");
    EXPECT_EQ(matching.className, "IOHIDDevice");
    EXPECT_TRUE(matching.numbers.empty());
}

} // namespace
} // namespace lightpen
