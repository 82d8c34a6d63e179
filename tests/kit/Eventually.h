// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <thread>

namespace lightpen {

// Waits until another thread or process has made the condition true; false when it has not within ten
// seconds. The pause is what a test with a loop of its own does meanwhile.
template <class Condition, class Pause>
bool eventually(Condition condition, Pause pause) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        pause();
    }
    return true;
}

template <class Condition>
bool eventually(Condition condition) {
    return eventually(condition, [] { std::this_thread::sleep_for(std::chrono::milliseconds(1)); });
}

} // namespace lightpen
