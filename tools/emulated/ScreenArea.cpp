// SPDX-License-Identifier: MIT
#include "emulated/ScreenArea.h"

#include <QScreen>

namespace lightpen {

CaptureArea areaOf(const QScreen& screen) {
    const double scale = screen.devicePixelRatio();
    const QRect frame = screen.geometry(); // its origin is in pixels
    return {{frame.x(), frame.y(), static_cast<int>(frame.width() * scale),
             static_cast<int>(frame.height() * scale)},
            1 / scale};
}

} // namespace lightpen
