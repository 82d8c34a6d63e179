// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include <QApplication>

namespace lightpen {

// Makes Qt's application object, without a display, unless the process has it already. Always true, so that a
// member can stand before those that need it.
bool ensureOffscreenApplication();

// The top windows of this kind, in no order.
template <class Window>
std::vector<Window*> topWindows() {
    std::vector<Window*> found;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* window = dynamic_cast<Window*>(widget))
            found.push_back(window);
    return found;
}
// The only one; null where there is none.
template <class Window>
Window* topWindow() {
    const auto found = topWindows<Window>();
    return found.empty() ? nullptr : found.front();
}

} // namespace lightpen
