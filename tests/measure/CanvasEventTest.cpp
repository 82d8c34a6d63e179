// SPDX-License-Identifier: MIT
#include "measure/CanvasEvent.h"

#include <gtest/gtest.h>

namespace lightpen {
namespace {

using Kind = CanvasEvent::Kind;

TEST(CanvasEventTest, IsOneLineOfTimeKindPositionAndText) {
    EXPECT_EQ(lineFromCanvasEvent({Kind::press, Microseconds(1234567), {640, 399.6}, ""}),
              "1234567 press 640 400");
    EXPECT_EQ(lineFromCanvasEvent({Kind::notification, Microseconds(5), {0, 0}, "LightPenNX7RegionTop"}),
              "5 notification 0 0 LightPenNX7RegionTop");
}

TEST(CanvasEventTest, EveryKindComesBack) {
    for (int kind = 0; kind <= static_cast<int>(Kind::failed); ++kind) {
        const CanvasEvent event{static_cast<Kind>(kind), Microseconds(kind + 10), {-3, 1279}, "a b"};
        EXPECT_EQ(canvasEventFromLine(lineFromCanvasEvent(event)), event) << kind;
    }
}

TEST(CanvasEventTest, TextMayHoldSpacesAndMayBeMissing) {
    EXPECT_EQ(canvasEventFromLine("7 saved 0 0 /tmp/a picture.png")->text, "/tmp/a picture.png");
    EXPECT_EQ(canvasEventFromLine("7 release 1 2")->text, "");
}

TEST(CanvasEventTest, OtherLinesAreNone) {
    for (const char* line :
         {"", " ", "press 1 2", "7 press 1", "7 press x 2", "7 press 1 2x", "7x press 1 2", "7 Press 1 2",
          "qt.qpa: some warning of the window system", "99999999999999999999 press 1 2"})
        EXPECT_FALSE(canvasEventFromLine(line)) << line;
}

} // namespace
} // namespace lightpen
