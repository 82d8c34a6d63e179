// SPDX-License-Identifier: MIT
#include "unit/wire/PenStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace lightpen {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

constexpr CameraPoint kSpot{700, 600};

struct PenStreamTest : testing::Test {
    PenStream stream;

    std::optional<UnitReport> frame(Microseconds now, std::optional<CameraPoint> spot) {
        stream.see(spot.has_value());
        return stream.frame(now, spot);
    }
    // The idle reports up to this time.
    std::vector<Microseconds> idleUpTo(Microseconds end) {
        std::vector<Microseconds> times;
        while (const auto due = stream.nextIdle()) {
            if (*due > end)
                break;
            times.push_back(stream.idle(*due).time);
        }
        return times;
    }
};

TEST_F(PenStreamTest, ReportsEachPictureOfATouchAndThenPenUp) {
    const auto first = frame(1s, kSpot);
    ASSERT_TRUE(first);
    EXPECT_EQ(ReportKind::spot, first->kind);
    EXPECT_EQ(Microseconds(1s), first->time);
    EXPECT_THAT(first->bytes, ElementsAre(1, 0xBC, 0x02, 0x58, 0x02));
    EXPECT_TRUE(frame(1008ms, kSpot));
    const auto up = frame(1016ms, std::nullopt);
    ASSERT_TRUE(up);
    EXPECT_EQ(ReportKind::penUp, up->kind);
    EXPECT_THAT(up->bytes, ElementsAre(0, 0, 0, 0, 0));
    EXPECT_FALSE(frame(1024ms, std::nullopt));
}

TEST_F(PenStreamTest, ATouchInterruptsIdlingAndPrecedesItsOwn) {
    stream.idleFrom(3s);
    idleUpTo(3100ms);
    frame(3104ms, kSpot);
    EXPECT_FALSE(stream.nextIdle());
    frame(3112ms, std::nullopt);
    const auto times = idleUpTo(60s);
    EXPECT_EQ(Microseconds(3148ms), times.front());
    EXPECT_GT(times.back(), Microseconds(4s));
}

TEST_F(PenStreamTest, HushEndsTouchAndIdlingWithoutAWord) {
    frame(1s, kSpot);
    stream.hush();
    EXPECT_FALSE(frame(1008ms, std::nullopt));
    EXPECT_FALSE(stream.nextIdle());
    stream.idleFrom(2s);
    stream.hush();
    EXPECT_FALSE(stream.nextIdle());
}

TEST_F(PenStreamTest, DoesNotIdleWhileASpotIsInSightThatIsNotReported) {
    stream.idleFrom(2s);
    stream.see(true);
    EXPECT_FALSE(stream.nextIdle());
    stream.see(false);
    EXPECT_EQ(Microseconds(2s), stream.nextIdle());
    stream.idleWithoutEnd(3s);
    stream.see(true);
    EXPECT_EQ(Microseconds(3s), stream.nextIdle());
}

TEST_F(PenStreamTest, IdlesWithoutEndUntilTold) {
    stream.idleWithoutEnd(1s);
    EXPECT_EQ(278U, idleUpTo(11s).size());
    stream.idleWithoutEnd(std::nullopt);
    EXPECT_FALSE(stream.nextIdle());
}

} // namespace
} // namespace lightpen
