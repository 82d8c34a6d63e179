// SPDX-License-Identifier: MIT
#include "app/PreviewPlace.h"

#include <algorithm>

#include "device/FloatPanel.h"

namespace lightpen {

// The panel's own place counts from the screen's lower edge.
QRect checkPanelPlace(const QRect& screen) {
    const auto [origin, size] = checkPanelRect({double(screen.width()), double(screen.height())});
    return {screen.x() + int(origin.x), screen.y() + screen.height() - int(origin.y) - int(size.height),
            int(size.width), int(size.height)};
}

QRect previewPlace(const QRect& screen, const QSize& wanted, const QRect& freePart) {
    const QRect panel = checkPanelPlace(screen);
    const QRect free = screen & freePart;
    QRect below = free, right = free, left = free, above = free;
    below.setTop(std::max(free.top(), panel.bottom() + 1));
    right.setLeft(std::max(free.left(), panel.right() + 1));
    left.setRight(std::min(free.right(), panel.left() - 1));
    above.setBottom(std::min(free.bottom(), panel.top() - 1));
    // What the room leaves of the wanted size.
    const auto cut = [&](const QRect& room) { return wanted.boundedTo(room.size()).expandedTo({0, 0}); };
    const auto area = [](const QSize& size) { return size.width() * size.height(); };
    // The first of those that leave most.
    const QRect room = std::max({below, right, left, above}, [&](const QRect& one, const QRect& other) {
        return area(cut(one)) < area(cut(other));
    });
    const QSize size = cut(room);
    return {room.x() + (room.width() - size.width()) / 2, room.y() + (room.height() - size.height()) / 2,
            size.width(), size.height()};
}

} // namespace lightpen
