// SPDX-License-Identifier: MIT
#include "measure/CalibrationScenes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <tuple>

namespace lightpen {
namespace {

constexpr Size kScreen{1920, 1080};

TEST(CalibrationScenesTest, TheShortSelectionIsOnePoseBothWaysWithoutNoise) {
    const auto scenes = calibrationScenes(kScreen, false);
    ASSERT_EQ(scenes.size(), 2U);
    EXPECT_EQ(scenes[0].session, SessionKind::byHand);
    EXPECT_EQ(scenes[1].session, SessionKind::automatic);
    for (const CalibrationScene& scene : scenes) {
        EXPECT_EQ(scene.pose, "strong keystone");
        EXPECT_EQ(scene.noise, 0);
    }
}

TEST(CalibrationScenesTest, AllIsThreePosesBothWaysWithoutNoiseAndWithIt) {
    std::set<std::tuple<std::string, SessionKind, double>> kinds;
    for (const CalibrationScene& scene : calibrationScenes(kScreen, true))
        kinds.insert({scene.pose, scene.session, scene.noise});
    EXPECT_EQ(kinds.size(), 12U);
    for (const char* pose : {"straight", "strong keystone", "turned by 15 deg."})
        for (const SessionKind session : {SessionKind::byHand, SessionKind::automatic})
            for (const double noise : {0.0, 1.0})
                EXPECT_TRUE(kinds.contains({pose, session, noise})) << pose << noise;
}

TEST(CalibrationScenesTest, ThePosesAreWhatTheyAreCalled) {
    const auto slope = [](const Optics& optics, ScreenPoint from, ScreenPoint to) {
        const CameraPoint a = optics.project(from);
        const CameraPoint b = optics.project(to);
        return std::atan2(b.y - a.y, b.x - a.x) * 57.29577951308232;
    };
    for (const CalibrationScene& scene : calibrationScenes(kScreen, true)) {
        const double top = slope(scene.optics, {0, 0}, {1920, 0});
        const double bottom = slope(scene.optics, {0, 1080}, {1920, 1080});
        if (scene.pose == "strong keystone") {
            EXPECT_GT(std::abs(top - bottom), 10);
        } else {
            EXPECT_NEAR(top, scene.pose == "straight" ? 0 : 15, 1e-9);
            EXPECT_NEAR(top, bottom, 1e-9);
        }
    }
}

TEST(CalibrationScenesTest, NoPoseStandsOnWholeCameraUnits) {
    for (const CalibrationScene& scene : calibrationScenes(kScreen, true)) {
        if (scene.pose != "straight")
            continue;
        const CameraPoint corner = scene.optics.project({0, 0});
        EXPECT_NEAR(corner.x, 380.25, 1e-9);
        EXPECT_NEAR(corner.y, 330.25, 1e-9);
    }
}

} // namespace
} // namespace lightpen
