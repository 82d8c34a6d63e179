// SPDX-License-Identifier: MIT
// What the check view's panel and the key window have in common.
#pragma once

#include <cstdint>

#include "platform/Geometry.h"

class QWidget;

namespace lightpen {

// How far up a window belongs. The desktop knows no more than "above the others"; the numbers keep the order
// among themselves.
enum class WindowLevel : std::int32_t { statusBar = 25, shielding = 2147483628, cursor = 2147483630 };

// Whether this process can show windows at all.
bool canShowWindows();

// Places the window on the main screen; the rectangle counts from that screen's bottom-left corner.
void placeOnMainScreen(QWidget& window, const WindowRect& rect);

} // namespace lightpen
