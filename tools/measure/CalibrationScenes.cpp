// SPDX-License-Identifier: MIT
#include "measure/CalibrationScenes.h"

namespace lightpen {

namespace {

// A camera that looks straight at the screen, but not exactly so that the corners fall on whole camera units:
// then the targets of some screens would all lie half-way between two units, and all four would be reported
// off to the same side by as much as is possible. Chance does not do that.
Optics almostStraight(Size screen) {
    const Optics straight = Optics::straight(screen);
    const auto beside = [&](double x, double y) {
        const CameraPoint corner = straight.project({x, y});
        return CameraPoint{corner.x + 0.25, corner.y + 0.25};
    };
    return Optics::fromCorners(screen, {beside(0, 0), beside(screen.width, 0),
                                        beside(screen.width, screen.height), beside(0, screen.height)})
        .value_or(straight);
}

} // namespace

std::vector<CalibrationScene> calibrationScenes(Size screen, bool all) {
    constexpr double kNoise = 1;
    struct Pose {
        std::string name;
        Optics optics;
    };
    std::vector<Pose> poses{{"strong keystone", Optics::strongKeystone(screen)}};
    if (all)
        poses = {{"straight", almostStraight(screen)},
                 poses.front(),
                 {"turned by 15 deg.", Optics::rotated(screen)}};
    std::vector<CalibrationScene> scenes;
    for (const double noise : {0.0, kNoise})
        for (const Pose& pose : poses)
            for (const SessionKind session : {SessionKind::byHand, SessionKind::automatic})
                if (all || noise == 0)
                    scenes.push_back({pose.name, pose.optics, session, noise});
    return scenes;
}

} // namespace lightpen
