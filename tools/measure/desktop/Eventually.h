// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <concepts>

namespace lightpen {

// Waits, in real time, until others have made the condition true; false when they have not within the
// patience. The pause is what the waiting side does meanwhile: it sleeps, or handles the events of its own
// loop.
template <class Condition, std::invocable Pause>
bool eventually(Condition condition, Pause pause,
                std::chrono::milliseconds patience = std::chrono::seconds(10)) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        pause();
    }
    return true;
}

} // namespace lightpen
