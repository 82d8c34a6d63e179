// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <thread>

#include <QCoreApplication>

namespace lightpen {

// How long whoever looks at the application from outside waits for it, on a machine that is busy.
inline constexpr std::chrono::seconds kDesktopPatience{30};

// Handles this process's events, where it has an application object, until the condition is true; false when
// it is not within the patience.
template <class Condition>
bool comesTrue(Condition condition, std::chrono::milliseconds patience = kDesktopPatience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace lightpen
