// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <thread>

#include <QCoreApplication>

#include "measure/desktop/Eventually.h"

namespace lightpen {

// How long a program waits for the application that it uses from outside. The machine may be busy.
inline constexpr std::chrono::seconds kDesktopPatience{30};

// Waits as eventually does, and handles this process's events meanwhile, where it has an application object.
template <class Condition>
bool comesTrue(Condition condition, std::chrono::milliseconds patience = kDesktopPatience) {
    return eventually(
        condition,
        [] {
            QCoreApplication::processEvents();
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        },
        patience);
}

} // namespace lightpen
