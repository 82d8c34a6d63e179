// SPDX-License-Identifier: MIT
#include "linux_desktop/files/Utf8.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

TEST(Utf8, IsWholeCharactersInTheirShortestForm) {
    for (const char* text : {"", "\x7e", "\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf",
                             "\xee\x80\x80", "\xef\xbf\xbf", "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf"})
        EXPECT_TRUE(isUtf8(text)) << text;
    for (const char* text :
         {"\x80", "\xc0\x80", "\xc1\xbf", "\xc2", "\xc2\x7f", "\xe0\x9f\xbf", "\xe2\x82", "\xed\xbf\xbf",
          "\xf0\x8f\xbf\xbf", "\xf0\x90\x80", "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "a\xff"})
        EXPECT_FALSE(isUtf8(text)) << text;
}

} // namespace
} // namespace lightpen
