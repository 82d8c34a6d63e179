// SPDX-License-Identifier: MIT
#include "measure/TapSeries.h"

#include <gmock/gmock.h>

#include <cmath>

#include "emulated/UnitOnDesk.h"
#include "measure/Injection.h"

namespace lightpen {
namespace {

using testing::IsEmpty;

// In the place of a driver: what a unit reports is mapped with an error of its own, logged as the driver logs
// it, and the pointer follows.
class TapSeriesTest : public UnitAtScreen {
protected:
    TapSeriesTest() {
        unit.onReport([this](const UnitReport& report) {
            desk.runLoop.performAfterDelay({this, "take", {}, [this, report] { take(report); }}, delay);
        });
        unit.plug();
    }
    void take(const UnitReport& report) {
        if (report.kind == ReportKind::spot) {
            const CameraPoint seen{static_cast<double>(report.bytes[1] + 256 * report.bytes[2]),
                                   static_cast<double>(report.bytes[3] + 256 * report.bytes[4])};
            const ScreenPoint exact = unit.optics().unproject(seen);
            const bool stumbling = stumbles > 0;
            const ScreenPoint mapped{exact.x + 0.25 + (stumbling ? 90 : 0), exact.y + 1};
            answer->mapped = mapped;
            mapping->mapPointFrom(seen);
            if (follows)
                painter.movePointer(static_cast<std::int16_t>(mapped.x), static_cast<std::int16_t>(mapped.y));
            if (stumbling)
                --stumbles;
            if (stumbling || delay > Microseconds::zero())
                recording.lifted();
        } else if (lifts) {
            recording.lifted();
        }
    }
    std::string tap(const std::vector<ScreenPoint>& places) {
        return tapAt(places, unit, recording, *eyes, desk.platform, taps);
    }

    struct Answer final : KVRCalibrationProtocol {
        ScreenPoint mapPointFrom(CameraPoint) override { return mapped; }
        ScreenPoint mapped;
    };

    Recording recording;
    std::shared_ptr<Answer> answer = std::make_shared<Answer>();
    std::shared_ptr<KVRCalibrationProtocol> mapping = noted(recording, answer);
    bool follows = true;
    bool lifts = true;
    int stumbles = 0;     // as many reports are mapped far away and lift the pen, which the hand does not
    Microseconds delay{}; // of reading a report; with one, each report is a stroke of its own
    std::vector<Tap> taps;
};

TEST_F(TapSeriesTest, EachTapIsKeptFromTheHandToThePointer) {
    const std::vector<ScreenPoint> places = {{100.3, 40.8}, {600.2, 300.1}, {100.3, 41.9}};
    EXPECT_EQ(tap(places), "");
    ASSERT_EQ(taps.size(), places.size());
    for (std::size_t i = 0; i < taps.size(); ++i) {
        const Tap& tap = taps[i];
        const CameraPoint seen = unit.seen(places[i]);
        EXPECT_EQ(tap.hand, places[i]);
        EXPECT_EQ(tap.reported, (CameraPoint{std::round(seen.x), std::round(seen.y)}));
        EXPECT_NEAR(tap.mapped.x, unit.optics().unproject(tap.reported).x + 0.25, 1e-12);
        EXPECT_NEAR(tap.mapped.y, unit.optics().unproject(tap.reported).y + 1, 1e-12);
        EXPECT_EQ(tap.pointer, (ScreenPoint{std::trunc(tap.mapped.x), std::trunc(tap.mapped.y)}));
    }
}

TEST_F(TapSeriesTest, APointerThatDoesNotFollowIsMeasuredWhereItIs) {
    painter.movePointer(17, 23);
    follows = false;
    EXPECT_EQ(tap({{100, 40}}), "");
    ASSERT_EQ(taps.size(), 1U);
    EXPECT_EQ(taps[0].pointer, (ScreenPoint{17, 23}));
}

TEST_F(TapSeriesTest, ATapIsWhatItIsAtItsEndWhenTheDriverHasLiftedThePenBefore) {
    stumbles = 4;
    EXPECT_EQ(tap({{100, 40}, {200, 50}}), "");
    ASSERT_EQ(taps.size(), 2U);
    EXPECT_NEAR(taps[0].mapped.x, 100.25, 1);
    EXPECT_NEAR(taps[1].mapped.x, 200.25, 1);
}

TEST_F(TapSeriesTest, WhatIsReadLateOfOneTapIsNotTakenForTheNext) {
    delay = std::chrono::milliseconds(200);
    EXPECT_EQ(tap({{100, 40}, {200, 50}, {300, 60}}), "");
    ASSERT_EQ(taps.size(), 3U);
    EXPECT_NEAR(taps[0].mapped.x, 100.25, 1);
    EXPECT_NEAR(taps[1].mapped.x, 200.25, 1);
    EXPECT_NEAR(taps[2].mapped.x, 300.25, 1);
}

TEST_F(TapSeriesTest, ATapThatDoesNotArriveEndsTheSeries) {
    EXPECT_EQ(tap({{100, 40}}), "");
    unit.unplug();
    EXPECT_EQ(tap({{200, 50}, {300, 60}}), "The tap at {200, 50} did not become a stroke of the pen.");
    EXPECT_EQ(taps.size(), 1U);
}

TEST_F(TapSeriesTest, ATapThatIsNeverReleasedEndsTheSeries) {
    lifts = false;
    EXPECT_EQ(tap({{200, 50}}), "The tap at {200, 50} did not become a stroke of the pen.");
    EXPECT_THAT(taps, IsEmpty());
}

TEST_F(TapSeriesTest, AServerThatIsGoneIsSaid) {
    Xvfb other("640x360");
    eyes = ScreenCapture::create(other.display().c_str(), problem);
    other.end();
    EXPECT_EQ(tap({{200, 50}}), "The X server does not say where the pointer is.");
}

} // namespace
} // namespace lightpen
