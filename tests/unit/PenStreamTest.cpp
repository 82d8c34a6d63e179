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
    UnitBehaviour behaviour;

    std::optional<UnitReport> frame(Microseconds now, std::optional<CameraPoint> spot) {
        stream.see(spot.has_value());
        return stream.frame(now, spot, behaviour);
    }
    // The idle reports up to this time.
    std::vector<Microseconds> idleUpTo(Microseconds end) {
        std::vector<Microseconds> times;
        while (const auto due = stream.nextIdle(behaviour)) {
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
    EXPECT_FALSE(stream.nextIdle(behaviour));
    frame(3112ms, std::nullopt);
    const auto times = idleUpTo(60s);
    EXPECT_EQ(Microseconds(3148ms), times.front());
    EXPECT_GT(times.back(), Microseconds(4s));
}

TEST_F(PenStreamTest, HushEndsTouchAndIdlingWithoutAWord) {
    frame(1s, kSpot);
    stream.hush();
    EXPECT_FALSE(frame(1008ms, std::nullopt));
    EXPECT_FALSE(stream.nextIdle(behaviour));
    stream.idleFrom(2s);
    stream.hush();
    EXPECT_FALSE(stream.nextIdle(behaviour));
}

TEST_F(PenStreamTest, DoesNotIdleWhileASpotIsInSightThatIsNotReported) {
    stream.idleFrom(2s);
    stream.see(true);
    EXPECT_FALSE(stream.nextIdle(behaviour));
    stream.see(false);
    EXPECT_EQ(Microseconds(2s), stream.nextIdle(behaviour));
    stream.idleWithoutEnd(3s);
    stream.see(true);
    EXPECT_EQ(Microseconds(3s), stream.nextIdle(behaviour));
}

TEST_F(PenStreamTest, IdlesWithoutEndUntilTold) {
    stream.idleWithoutEnd(1s);
    EXPECT_EQ(278U, idleUpTo(11s).size());
    stream.idleWithoutEnd(std::nullopt);
    EXPECT_FALSE(stream.nextIdle(behaviour));
}

TEST_F(PenStreamTest, MissingManners) {
    behaviour.plainFirstByte = false;
    EXPECT_EQ('s', frame(1s, kSpot)->bytes[0]);
    behaviour.endsWithPenUp = false;
    EXPECT_FALSE(frame(1008ms, std::nullopt));
    EXPECT_FALSE(stream.nextIdle(behaviour));
    stream.idleFrom(2s);
    behaviour.idleReports = false;
    EXPECT_FALSE(stream.nextIdle(behaviour));
    behaviour.idleReports = true;
    behaviour.idleEnds = false;
    EXPECT_EQ(278U, idleUpTo(12s).size());
    behaviour.idleSlowly = false;
    // The last one was at 11,972 ms; now they come at the rate of a touch.
    EXPECT_EQ(128U, idleUpTo(13s).size());
}

TEST_F(PenStreamTest, AnUnsteadyUnitReportsOnePictureInFour) {
    behaviour.steadyReports = false;
    std::vector<bool> sent;
    for (int count = 0; count < 9; ++count)
        sent.push_back(frame(1s + count * 8ms, kSpot).has_value());
    EXPECT_THAT(sent, ElementsAre(true, false, false, false, true, false, false, false, true));
}

} // namespace
} // namespace lightpen
