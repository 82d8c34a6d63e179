// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include <QPointF>
#include <QString>

namespace lightpen {

// What there is to see on the canvas. Positions are in points from its top left corner.
struct Board {
    std::vector<std::vector<QPointF>> strokes; // each from press to release
    std::vector<QPointF> rightClicks;
    std::vector<QPointF> hand;            // where the hand touched, as far as the demo said
    std::map<QString, int> notifications; // by name: how many were heard
    std::size_t presses = 0;
    std::size_t releases = 0;
};

// The notifications of the four sides, in the order left, right, top, bottom.
inline const QString kSideNotifications[] = {
    QStringLiteral("LightPenNX7RegionLeft"), QStringLiteral("LightPenNX7RegionRight"),
    QStringLiteral("LightPenNX7RegionTop"), QStringLiteral("LightPenNX7RegionButtom")};

} // namespace lightpen
