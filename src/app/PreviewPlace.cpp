// SPDX-License-Identifier: MIT
#include "app/PreviewPlace.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace lightpen {

namespace {

double right(const ScreenRect& rect) {
    return rect.origin.x + rect.size.width;
}
double bottom(const ScreenRect& rect) {
    return rect.origin.y + rect.size.height;
}

ScreenRect between(double left, double top, double right, double bottom) {
    return {{left, top}, {std::max(right - left, 0.0), std::max(bottom - top, 0.0)}};
}

ScreenRect common(const ScreenRect& a, const ScreenRect& b) {
    return between(std::max(a.origin.x, b.origin.x), std::max(a.origin.y, b.origin.y),
                   std::min(right(a), right(b)), std::min(bottom(a), bottom(b)));
}

Size cut(const Size& wanted, const Size& room) {
    return {std::min(wanted.width, room.width), std::min(wanted.height, room.height)};
}

// How much of the wanted window there is room for.
double areaThatFits(const Size& wanted, const ScreenRect& room) {
    const Size size = cut(wanted, room.size);
    return size.width * size.height;
}

// In the middle of the room, at whole points.
ScreenRect centred(const Size& size, const ScreenRect& room) {
    return {{std::floor(room.origin.x + (room.size.width - size.width) / 2),
             std::floor(room.origin.y + (room.size.height - size.height) / 2)},
            size};
}

} // namespace

ScreenRect checkPanelPlace(const ScreenRect& screen) {
    const Size size{std::trunc(screen.size.width * 0.5), std::trunc(screen.size.height * 0.5)};
    const double above = screen.size.height - std::trunc(screen.size.height / 3) - size.height;
    return {{screen.origin.x + std::trunc(screen.size.width * 0.25), screen.origin.y + above}, size};
}

ScreenRect previewPlace(const ScreenRect& screen, const Size& wanted, const ScreenRect& freePart) {
    const ScreenRect free = common(screen, freePart);
    const ScreenRect panel = checkPanelPlace(screen);
    // The best place first: it wins where several have as much room.
    const std::array rooms{
        between(free.origin.x, std::max(free.origin.y, bottom(panel)), right(free), bottom(free)),
        between(std::max(free.origin.x, right(panel)), free.origin.y, right(free), bottom(free)),
        between(free.origin.x, free.origin.y, std::min(right(free), panel.origin.x), bottom(free)),
        between(free.origin.x, free.origin.y, right(free), std::min(bottom(free), panel.origin.y))};
    const ScreenRect* best = rooms.data();
    for (const ScreenRect& room : rooms)
        if (areaThatFits(wanted, room) > areaThatFits(wanted, *best))
            best = &room;
    const Size size = cut(wanted, best->size);
    return centred({std::floor(size.width), std::floor(size.height)}, *best);
}

ScreenRect previewPlace(const ScreenRect& screen, const Size& wanted) {
    return previewPlace(screen, wanted, screen);
}

} // namespace lightpen
